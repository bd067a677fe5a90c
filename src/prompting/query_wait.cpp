#include "prompting/query_wait.h"

#include <utility>

namespace vossel {

bool QueryWait::finish(Outcome outcome, const user_prompt_response& response)
{
    {
        const MutexLock lock(mutex_);
        const bool open = outcome_ == Outcome::Waiting
            || (outcome_ == Outcome::Cancelled && outcome == Outcome::TimedOut);
        if (!open)
            return false;
        outcome_ = outcome;
        if (outcome != Outcome::Cancelled)
            response_ = response;
    }
    // Without the lock, or the woken thread would only wait for it. The caller holds a share of
    // this object, so it is still there.
    finished_.notifyAll();
    return true;
}

QueryWait::Outcome QueryWait::wait(Clock& clock)
{
    MutexLock lock(mutex_);
    clock.waitUntil(lock, finished_, deadline_,
        [this]() VOSSEL_REQUIRES(mutex_) { return outcome_ != Outcome::Waiting; });
    return outcome_;
}

QueryWait::Outcome QueryWait::outcome() const
{
    const MutexLock lock(mutex_);
    return outcome_;
}

bool QueryWait::hasResponse() const
{
    const MutexLock lock(mutex_);
    return outcome_ != Outcome::Waiting && outcome_ != Outcome::Cancelled;
}

user_prompt_response QueryWait::response() const
{
    const MutexLock lock(mutex_);
    return response_;
}

void QueryWait::setRecommendedPath(std::optional<std::string> path)
{
    const MutexLock lock(mutex_);
    recommendedPath_ = std::move(path);
}

std::optional<std::string> QueryWait::recommendedPath() const
{
    const MutexLock lock(mutex_);
    return recommendedPath_;
}

}
