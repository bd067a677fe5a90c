#pragma once

#include "foundation/mutex.h"

#include <utility>

namespace vossel {

// A value with its lock: set by a script on one thread, read by the product on others.
template <class T>
class Guarded {
public:
    Guarded() = default;
    explicit Guarded(T value)
        : value_(std::move(value))
    {
    }

    void set(T value)
    {
        const MutexLock lock(mutex_);
        value_ = std::move(value);
    }
    [[nodiscard]] T get() const
    {
        const MutexLock lock(mutex_);
        return value_;
    }
    // Runs `use(T&)` under the lock and returns its result.
    template <class Use>
    auto with(Use use)
    {
        const MutexLock lock(mutex_);
        return use(value_);
    }

private:
    mutable Mutex mutex_;
    T value_ VOSSEL_GUARDED_BY(mutex_){};
};

}
