#pragma once

#include "foundation/mutex.h"

#include <deque>
#include <functional>
#include <thread>

namespace vossel {

// A thread for what may wait: opening files and walking paths on a guarded file system, which the
// loop's thread, being the one that answers, must never do.
class Worker {
public:
    Worker() = default;
    ~Worker() { stop(); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    // Once, before post(). False when the system refuses a thread.
    [[nodiscard]] bool start();
    // Waits for the job at work; jobs not begun are dropped. Nothing is done afterwards.
    void stop();
    // In order. False, and nothing is done, while too many are waiting.
    [[nodiscard]] bool post(std::function<void()> job);

private:
    static constexpr std::size_t mostJobs = 1024;

    void run();

    Mutex lock_;
    Condition changed_;
    std::deque<std::function<void()>> jobs_ VOSSEL_GUARDED_BY(lock_);
    bool ending_ VOSSEL_GUARDED_BY(lock_) = false;
    std::thread thread_;
};

}
