#pragma once

#include "foundation/mutex.h"

#include <deque>
#include <functional>
#include <thread>

namespace vossel {

// Owns a thread for whatever may wait: opening files and walking paths on a guarded file system.
// The loop's thread must never do that, for it is the one that answers.
class Worker {
public:
    Worker() = default;
    ~Worker() { stop(); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    // To be called once, before post(). False when the system refuses a thread.
    [[nodiscard]] bool start();
    // Waits for the job at work; jobs not begun are dropped. Nothing is done afterwards.
    void stop();
    // Jobs are done in order. False, and the job is not taken, while too many are waiting.
    [[nodiscard]] bool post(std::function<void()> job);

private:
    static constexpr std::size_t maxJobs = 1024;

    void run();

    Mutex lock_;
    Condition changed_;
    std::deque<std::function<void()>> jobs_ VOSSEL_GUARDED_BY(lock_);
    bool ending_ VOSSEL_GUARDED_BY(lock_) = false;
    std::thread thread_;
};

}
