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
// it enters itself in the list or leaves it.
bool SimulatedClock::waitUntil(std::unique_lock<std::mutex>& lock,
    std::condition_variable& condition, Instant deadline, const std::function<bool()>& predicate)
{
    lock.unlock();
    std::list<Waiter>::iterator self;
    {
        const std::lock_guard own(mutex_);
        self = waiters_.insert(waiters_.end(), Waiter{lock.mutex(), &condition});
        changed_.notify_all();
    }
    lock.lock();
    // advance() moves the time before it takes the waiter's lock to wake it, so a waiter either
    // sees the new time here or is asleep when it is woken.
    while (!predicate() && now() < deadline)
        condition.wait(lock);
    const bool result = predicate();
    lock.unlock();
    {
        const std::lock_guard own(mutex_);
        waiters_.erase(self);
        changed_.notify_all();
    }
    lock.lock();
    return result;
}

bool SimulatedClock::sleep(Duration duration)
{
    std::unique_lock lock(mutex_);
    const Instant end = now() + duration;
    const auto self = waiters_.insert(waiters_.end(), Waiter{nullptr, nullptr});
    changed_.notify_all();
    changed_.wait(lock, [&] { return stopped_ || now() >= end; });
    waiters_.erase(self);
    changed_.notify_all();
    return !stopped_;
}

void SimulatedClock::advance(Duration duration)
{
    const std::lock_guard lock(mutex_);
    now_ = now() + duration;
    changed_.notify_all();
    for (const Waiter& waiter : waiters_) {
        if (!waiter.mutex)
            continue;
        const std::lock_guard waiterLock(*waiter.mutex);
        waiter.condition->notify_all();
    }
}

void SimulatedClock::stop()
{
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    changed_.notify_all();
}

bool SimulatedClock::waitForWaiters(std::size_t count) const
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(
        lock, std::chrono::seconds(10), [&] { return waiters_.size() >= count; });
}

}
