#pragma once

#include "foundation/mutex.h"
#include "platform/threads.h"
#include "platform/timers.h"

#include <atomic>
#include <cstddef>
#include <deque>
#include <list>
#include <map>
#include <thread>

namespace vossel {

// Real threads, all joined at the end. Any thread.
class SimulatedThreads final : public ThreadLauncher {
public:
    ~SimulatedThreads() override { joinAll(); }

    [[nodiscard]] bool launch(std::string_view name, std::function<void()> entry) override;

    // While set, launches are refused.
    void refuse(bool refused) { refused_ = refused; }
    // Threads launched so far.
    [[nodiscard]] std::size_t launched() const { return launched_; }
    void joinAll();

private:
    std::atomic<bool> refused_ = false;
    std::atomic<std::size_t> launched_ = 0;
    Mutex mutex_;
    std::list<std::thread> threads_ VOSSEL_GUARDED_BY(mutex_);
};

// The thread that makes it is the main thread; what is to be performed there waits until that
// thread calls one of the run operations.
class SimulatedMainThread final : public MainThread {
public:
    SimulatedMainThread()
        : thread_(std::this_thread::get_id())
    {
    }

    [[nodiscard]] bool isCurrent() const override;
    void perform(std::function<void()> task) override;
    void performAndWait(const std::function<void()>& task) override;

    // Runs what has been handed over, and what that hands over.
    void runPending();
    // Runs tasks as they come until `done` holds, asked after each; false after 10 real seconds.
    [[nodiscard]] bool runUntil(const std::function<bool()>& done);

private:
    [[nodiscard]] bool runOne();

    const std::thread::id thread_;
    Mutex mutex_;
    Condition changed_;
    std::deque<std::function<void()>> tasks_ VOSSEL_GUARDED_BY(mutex_);
};

// Fires what is due when told to; the main thread's.
class SimulatedTimers final : public Timers {
public:
    explicit SimulatedTimers(Clock& clock)
        : clock_(clock)
    {
    }

    [[nodiscard]] Timer once(Clock::Duration delay, std::function<void()> task) override;
    void cancel(Timer timer) override;

    void fireDue();
    [[nodiscard]] std::size_t pending() const { return pending_.size(); }

private:
    struct Entry {
        Clock::Instant due;
        std::function<void()> task;
    };

    Clock& clock_;
    Timer last_ = 0;
    std::map<Timer, Entry> pending_;
};

}
