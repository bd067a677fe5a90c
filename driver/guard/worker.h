#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
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

    std::mutex lock_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> jobs_; // guarded by lock_
    bool ending_ = false; // guarded by lock_
    std::thread thread_;
};

}
