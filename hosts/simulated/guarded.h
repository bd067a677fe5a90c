#pragma once

#include <mutex>
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
        const std::lock_guard lock(mutex_);
        value_ = std::move(value);
    }
    [[nodiscard]] T get() const
    {
        const std::lock_guard lock(mutex_);
        return value_;
    }
    // Runs `use(T&)` under the lock and returns its result.
    template <class Use>
    auto with(Use use)
    {
        const std::lock_guard lock(mutex_);
        return use(value_);
    }

private:
    mutable std::mutex mutex_;
    T value_{};
};

}
