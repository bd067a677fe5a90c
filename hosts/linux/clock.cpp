#include "hosts/linux/clock.h"

#include <algorithm>

namespace vossel {

namespace {

// Waiting for longer is waiting for ever; later instants would overflow in nanoseconds.
constexpr std::chrono::hours maxWait(24 * 365);

LinuxClock::Instant withinReach(LinuxClock::Instant deadline, LinuxClock::Instant now)
{
    return std::clamp(deadline, now, now + maxWait);
}

}

LinuxClock::Instant LinuxClock::now() const
{
    return std::chrono::time_point_cast<Duration>(std::chrono::steady_clock::now());
}

std::chrono::system_clock::time_point LinuxClock::wallTime() const
{
    return std::chrono::system_clock::now();
}

bool LinuxClock::waitUntil(
    MutexLock& lock, Condition& condition, Instant deadline, const std::function<bool()>& predicate)
{
    return condition.waitUntil(lock, withinReach(deadline, now()), predicate);
}

bool LinuxClock::sleep(Duration duration)
{
    const auto bounded = std::clamp<Duration>(duration, Duration::zero(), maxWait);
    MutexLock lock(lock_);
    return !stopping_.waitUntil(
        lock, now() + bounded, [this]() VOSSEL_REQUIRES(lock_) { return stopped_; });
}

void LinuxClock::stop()
{
    const MutexLock guard(lock_);
    stopped_ = true;
    stopping_.notifyAll();
}

}
