#include "agent/filter_status.h"

#include <utility>

namespace vossel {

std::int32_t FilterStatus::statusBarStatus() const
{
    const MutexLock lock(mutex_);
    return status_;
}

void FilterStatus::updateStatus(std::int32_t status)
{
    const MutexLock lock(mutex_);
    if (status_ == status)
        return;
    status_ = status;
    if (observer_)
        observer_(status);
}

void FilterStatus::setObserver(Observer observer)
{
    const MutexLock lock(mutex_);
    observer_ = std::move(observer);
    if (observer_)
        observer_(status_);
}

}
