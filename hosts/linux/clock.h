#pragma once

#include "foundation/mutex.h"
#include "platform/clock.h"

namespace vossel {

// The kernel's monotonic clock. It stands still while the machine is suspended, so that a person
// has their whole time to answer after waking it.
class LinuxClock final : public Clock {
public:
    [[nodiscard]] Instant now() const override;
    [[nodiscard]] std::chrono::system_clock::time_point wallTime() const override;
    bool waitUntil(MutexLock& lock, Condition& condition, Instant deadline,
        const std::function<bool()>& predicate) override;
    [[nodiscard]] bool sleep(Duration duration) override;

    // The program is to end: every sleep, now and later, returns false at once. From any thread,
    // not from a signal handler.
    void stop();

private:
    Mutex lock_;
    Condition stopping_;
    bool stopped_ VOSSEL_GUARDED_BY(lock_) = false;
};

}
