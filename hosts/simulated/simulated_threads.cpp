#include "hosts/simulated/simulated_threads.h"

#include <algorithm>
#include <future>
#include <memory>
#include <utility>

namespace vossel {

bool SimulatedThreads::launch(std::string_view, std::function<void()> entry)
{
    if (refused_)
        return false;
    const MutexLock lock(mutex_);
    threads_.emplace_back(std::move(entry));
    ++launched_;
    return true;
}

void SimulatedThreads::joinAll()
{
    for (;;) {
        std::list<std::thread> threads;
        {
            const MutexLock lock(mutex_);
            threads.swap(threads_);
        }
        if (threads.empty())
            return;
        for (std::thread& thread : threads)
            thread.join();
    }
}

bool SimulatedMainThread::isCurrent() const
{
    return std::this_thread::get_id() == thread_;
}

void SimulatedMainThread::perform(std::function<void()> task)
{
    const MutexLock lock(mutex_);
    tasks_.push_back(std::move(task));
    changed_.notifyAll();
}

void SimulatedMainThread::performAndWait(const std::function<void()>& task)
{
    if (isCurrent()) {
        task();
        return;
    }
    auto done = std::make_shared<std::promise<void>>();
    perform([&task, done] {
        task();
        done->set_value();
    });
    done->get_future().wait();
}

bool SimulatedMainThread::runOne()
{
    std::function<void()> task;
    {
        const MutexLock lock(mutex_);
        if (tasks_.empty())
            return false;
        task = std::move(tasks_.front());
        tasks_.pop_front();
    }
    task();
    return true;
}

void SimulatedMainThread::runPending()
{
    while (runOne()) { }
}

bool SimulatedMainThread::runUntil(const std::function<bool()>& done)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done()) {
        if (runOne())
            continue;
        if (std::chrono::steady_clock::now() > end)
            return false;
        // What `done` looks at may change without a task: look again now and then.
        MutexLock lock(mutex_);
        changed_.waitFor(lock, std::chrono::milliseconds(1),
            [this]() VOSSEL_REQUIRES(mutex_) { return !tasks_.empty(); });
    }
    return true;
}

Timers::Timer SimulatedTimers::once(Clock::Duration delay, std::function<void()> task)
{
    pending_.emplace(++last_, Entry{clock_.now() + delay, std::move(task)});
    return last_;
}

void SimulatedTimers::cancel(Timer timer)
{
    pending_.erase(timer);
}

void SimulatedTimers::fireDue()
{
    for (;;) {
        const auto due = std::ranges::min_element(
            pending_, {}, [](const auto& item) { return item.second.due; });
        if (due == pending_.end() || due->second.due > clock_.now())
            return;
        const auto task = std::move(due->second.task);
        pending_.erase(due);
        task();
    }
}

}
