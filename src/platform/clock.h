#pragma once

#include "foundation/mutex.h"

#include <chrono>
#include <functional>

namespace vossel {

// Time, and everything that waits for it. Callable from any thread.
class Clock {
public:
    using Duration = std::chrono::milliseconds;
    // Never goes back; its zero means nothing.
    using Instant = std::chrono::time_point<std::chrono::steady_clock, Duration>;

    virtual ~Clock() = default;

    [[nodiscard]] virtual Instant now() const = 0;
    [[nodiscard]] virtual std::chrono::system_clock::time_point wallTime() const = 0;

    // Waits until `predicate` holds or `deadline` has come; returns what it last said. `lock` must
    // be held, is given up while waiting, and guards what the predicate reads.
    virtual bool waitUntil(MutexLock& lock, Condition& condition, Instant deadline,
        const std::function<bool()>& predicate)
        = 0;

    // Returns true after `duration`; false at once when the program is to end.
    [[nodiscard]] virtual bool sleep(Duration duration) = 0;
};

}
