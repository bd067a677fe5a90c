#pragma once

#include "platform/clock.h"

#include <cstdint>
#include <functional>

namespace vossel {

// Timers on the main thread; called and firing there only.
class Timers {
public:
    using Timer = std::uint64_t; // 0 is no timer

    virtual ~Timers() = default;

    // Calls `task` once, `delay` from now.
    [[nodiscard]] virtual Timer once(Clock::Duration delay, std::function<void()> task) = 0;
    // A timer that has fired, was cancelled, or 0: nothing happens.
    virtual void cancel(Timer timer) = 0;
};

}
