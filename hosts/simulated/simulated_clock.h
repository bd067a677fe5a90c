#pragma once

#include "foundation/mutex.h"
#include "platform/clock.h"

#include <atomic>
#include <cstddef>
#include <list>

namespace vossel {

// Time that stands still until advance() moves it. Any thread.
class SimulatedClock final : public Clock {
public:
    [[nodiscard]] Instant now() const override;
    [[nodiscard]] std::chrono::system_clock::time_point wallTime() const override;
    bool waitUntil(MutexLock& lock, Condition& condition, Instant deadline,
        const std::function<bool()>& predicate) override;
    [[nodiscard]] bool sleep(Duration duration) override;

    // Wakes whoever's time has come. Must not be called under a lock that a waiter waits with.
    void advance(Duration duration);
    // Ends every sleep, now and later.
    void stop();
    // Returns when at least `count` threads wait or sleep here; false after 10 real seconds.
    [[nodiscard]] bool waitForWaiters(std::size_t count) const;

private:
    struct Waiter {
        Mutex* mutex; // none of one that sleeps
        Condition* condition;
    };

    mutable Mutex mutex_;
    mutable Condition changed_;
    // Written under mutex_, read without it: a waiter looks at it while it holds its own lock.
    std::atomic<Instant> now_{};
    bool stopped_ VOSSEL_GUARDED_BY(mutex_) = false;
    std::list<Waiter> waiters_ VOSSEL_GUARDED_BY(mutex_);
};

}
