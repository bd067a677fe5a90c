#pragma once

#include "platform/clock.h"

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace vossel {

// Tells how long a prompt can still be answered; it owns no timer. Any thread.
class PromptCountdown {
public:
    PromptCountdown(const Clock& clock, Clock::Instant deadline)
        : clock_(clock)
        , deadline_(deadline)
    {
    }

    // The time left, never below zero.
    [[nodiscard]] Clock::Duration left() const
    {
        return std::max(Clock::Duration::zero(), deadline_ - clock_.now());
    }
    // A second that has begun counts.
    [[nodiscard]] std::int64_t secondsLeft() const
    {
        return std::chrono::ceil<std::chrono::seconds>(left()).count();
    }
    // How long secondsLeft() stays what it is; zero once nothing is left.
    [[nodiscard]] Clock::Duration untilNextSecond() const
    {
        constexpr Clock::Duration second = std::chrono::seconds(1);
        const Clock::Duration now = left();
        const Clock::Duration part = now % second;
        return part == Clock::Duration::zero() && now > part ? second : part;
    }

private:
    const Clock& clock_;
    const Clock::Instant deadline_;
};

}
