#include "prompting/query_wait.h"

#include <utility>

namespace vossel {

bool QueryWait::finish(Outcome outcome, const user_prompt_response& response)
{
    {
        const std::lock_guard lock(mutex_);
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
    finished_.notify_all();
    return true;
}

QueryWait::Outcome QueryWait::wait(Clock& clock)
{
    std::unique_lock lock(mutex_);
    clock.waitUntil(lock, finished_, deadline_, [this] { return outcome_ != Outcome::Waiting; });
    return outcome_;
}

QueryWait::Outcome QueryWait::outcome() const
{
    const std::lock_guard lock(mutex_);
    return outcome_;
}

bool QueryWait::hasResponse() const
{
    const std::lock_guard lock(mutex_);
    return outcome_ != Outcome::Waiting && outcome_ != Outcome::Cancelled;
}

user_prompt_response QueryWait::response() const
{
    const std::lock_guard lock(mutex_);
    return response_;
}

void QueryWait::setRecommendedPath(std::optional<std::string> path)
{
    const std::lock_guard lock(mutex_);
    recommendedPath_ = std::move(path);
}

std::optional<std::string> QueryWait::recommendedPath() const
{
    const std::lock_guard lock(mutex_);
    return recommendedPath_;
}

}
