#pragma once

#include "platform/clock.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace vossel {

// Says which presses count: none that was made before a person can have read the prompt. It knows
// neither keys nor buttons, only when something was pressed. Times are milliseconds of any clock,
// which may wrap around. Main thread only.
class PromptArming {
public:
    using Time = std::uint32_t;

    // How long a person needs to see what has appeared.
    static constexpr std::chrono::milliseconds armingTime{400};

    // What a press that comes too early changes.
    enum class EarlyPress : std::uint8_t {
        ChangesNothing,
        StartsAnew, // so that nobody answers by going on with what they were typing
    };

    explicit PromptArming(EarlyPress early)
        : early_(early)
    {
    }

    [[nodiscard]] static Time timeOf(Clock::Instant instant)
    {
        return static_cast<Time>(instant.time_since_epoch().count());
    }

    // The prompt is in sight, for the first time or again. Until the first call nothing counts.
    void appeared(Time now) { armedFrom_ = now + static_cast<Time>(armingTime.count()); }
    [[nodiscard]] bool hasAppeared() const { return armedFrom_.has_value(); }

    [[nodiscard]] bool isArmed(Time time) const
    {
        return armedFrom_ && static_cast<std::int32_t>(time - *armedFrom_) >= 0;
    }
    // Whether a press of that time counts.
    [[nodiscard]] bool takesPress(Time time)
    {
        if (isArmed(time))
            return true;
        if (early_ == EarlyPress::StartsAnew && armedFrom_)
            appeared(time);
        return false;
    }

private:
    const EarlyPress early_;
    std::optional<Time> armedFrom_;
};

}
