#include "hosts/simulated/simulated_clock.h"

namespace vossel {

SimulatedClock::Instant SimulatedClock::now() const
{
    return now_.load();
}

std::chrono::system_clock::time_point SimulatedClock::wallTime() const
{
    // 2026-01-01 00:00 UTC and what has passed since.
    return std::chrono::system_clock::from_time_t(1767225600) + now().time_since_epoch();
}

// Lock order: mutex_ before a waiter's lock, as in advance(); so the waiter gives its own up before
// it enters itself in the list or leaves it. Clang's check is off here, because it cannot follow a
// lock that the caller holds.
bool SimulatedClock::waitUntil(MutexLock& lock, Condition& condition, Instant deadline,
    const std::function<bool()>& predicate) VOSSEL_NO_THREAD_SAFETY_ANALYSIS
{
    lock.unlock();
    std::list<Waiter>::iterator self;
    {
        const MutexLock own(mutex_);
        self = waiters_.insert(waiters_.end(), Waiter{&lock.mutex(), &condition});
        changed_.notifyAll();
    }
    lock.lock();
    // advance() moves the time before it takes the waiter's lock to wake it, so a waiter either
    // sees the new time here or is asleep when it is woken.
    condition.wait(lock, [&] { return predicate() || now() >= deadline; });
    const bool result = predicate();
    lock.unlock();
    {
        const MutexLock own(mutex_);
        waiters_.erase(self);
        changed_.notifyAll();
    }
    lock.lock();
    return result;
}

bool SimulatedClock::sleep(Duration duration)
{
    MutexLock lock(mutex_);
    const Instant end = now() + duration;
    const auto self = waiters_.insert(waiters_.end(), Waiter{nullptr, nullptr});
    changed_.notifyAll();
    changed_.wait(lock, [&]() VOSSEL_REQUIRES(mutex_) { return stopped_ || now() >= end; });
    waiters_.erase(self);
    changed_.notifyAll();
    return !stopped_;
}

void SimulatedClock::advance(Duration duration)
{
    const MutexLock lock(mutex_);
    now_ = now() + duration;
    changed_.notifyAll();
    for (const Waiter& waiter : waiters_) {
        if (!waiter.mutex)
            continue;
        const MutexLock waiterLock(*waiter.mutex);
        waiter.condition->notifyAll();
    }
}

void SimulatedClock::stop()
{
    const MutexLock lock(mutex_);
    stopped_ = true;
    changed_.notifyAll();
}

bool SimulatedClock::waitForWaiters(std::size_t count) const
{
    MutexLock lock(mutex_);
    return changed_.waitFor(lock, std::chrono::seconds(10),
        [&]() VOSSEL_REQUIRES(mutex_) { return waiters_.size() >= count; });
}

}
