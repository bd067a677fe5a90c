#include "agent/filter_status.h"

#include <utility>

namespace vossel {

std::int32_t FilterStatus::statusBarStatus() const
{
    const std::lock_guard lock(mutex_);
    return status_;
}

void FilterStatus::updateStatus(std::int32_t status)
{
    const std::lock_guard lock(mutex_);
    if (status_ == status)
        return;
    status_ = status;
    if (observer_)
        observer_(status);
}

void FilterStatus::setObserver(Observer observer)
{
    const std::lock_guard lock(mutex_);
    observer_ = std::move(observer);
    if (observer_)
        observer_(status_);
}

}
