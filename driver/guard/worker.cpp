#include "driver/guard/worker.h"

#include <system_error>

namespace vossel {

void Worker::stop()
{
    {
        const MutexLock guard(lock_);
        ending_ = true;
    }
    changed_.notifyOne();
    if (thread_.joinable())
        thread_.join();
}

bool Worker::start()
{
    try {
        thread_ = std::thread([this] { run(); });
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

bool Worker::post(std::function<void()> job)
{
    {
        const MutexLock guard(lock_);
        if (ending_ || jobs_.size() >= maxJobs)
            return false;
        jobs_.push_back(std::move(job));
    }
    changed_.notifyOne();
    return true;
}

void Worker::run()
{
    MutexLock guard(lock_);
    while (true) {
        changed_.wait(guard, [this]() VOSSEL_REQUIRES(lock_) { return ending_ || !jobs_.empty(); });
        if (ending_)
            return;
        const std::function<void()> job = std::move(jobs_.front());
        jobs_.pop_front();
        guard.unlock();
        job();
        guard.lock();
    }
}

}
