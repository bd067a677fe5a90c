#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

// These macros say which lock guards what. Clang checks them while it compiles; GCC sees nothing.
#if defined(__clang__)
#define VOSSEL_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define VOSSEL_THREAD_SAFETY(attribute)
#endif

#define VOSSEL_CAPABILITY(name) VOSSEL_THREAD_SAFETY(capability(name))
#define VOSSEL_SCOPED_CAPABILITY VOSSEL_THREAD_SAFETY(scoped_lockable)
// A member that is read and written only while the lock is held.
#define VOSSEL_GUARDED_BY(lock) VOSSEL_THREAD_SAFETY(guarded_by(lock))
// A lock that is taken before those that are named.
#define VOSSEL_ACQUIRED_BEFORE(...) VOSSEL_THREAD_SAFETY(acquired_before(__VA_ARGS__))
// A function, or a lambda, whose caller holds the locks; or does not hold them.
#define VOSSEL_REQUIRES(...) VOSSEL_THREAD_SAFETY(requires_capability(__VA_ARGS__))
#define VOSSEL_EXCLUDES(...) VOSSEL_THREAD_SAFETY(locks_excluded(__VA_ARGS__))
// A function that takes the locks and keeps them; or gives them back.
#define VOSSEL_ACQUIRE(...) VOSSEL_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
#define VOSSEL_RELEASE(...) VOSSEL_THREAD_SAFETY(release_capability(__VA_ARGS__))
// A function that the check must pass over. The reason stands beside it.
#define VOSSEL_NO_THREAD_SAFETY_ANALYSIS VOSSEL_THREAD_SAFETY(no_thread_safety_analysis)

namespace vossel {

class VOSSEL_CAPABILITY("mutex") Mutex {
public:
    void lock() VOSSEL_ACQUIRE() { mutex_.lock(); }
    void unlock() VOSSEL_RELEASE() { mutex_.unlock(); }

private:
    friend class MutexLock;

    std::mutex mutex_;
};

// Holds a lock while it stands, but for the time between unlock() and lock().
class VOSSEL_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) VOSSEL_ACQUIRE(mutex)
        : mutex_(mutex)
        , lock_(mutex.mutex_)
    {
    }
    ~MutexLock() VOSSEL_RELEASE() = default;
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void unlock() VOSSEL_RELEASE() { lock_.unlock(); }
    void lock() VOSSEL_ACQUIRE() { lock_.lock(); }
    [[nodiscard]] Mutex& mutex() const { return mutex_; }

private:
    friend class Condition;

    Mutex& mutex_;
    std::unique_lock<std::mutex> lock_;
};

// Each wait gives the lock up while it sleeps and returns with it once `predicate` holds; the
// bounded ones return what the predicate last said. A predicate that reads guarded members is a
// lambda with VOSSEL_REQUIRES.
class Condition {
public:
    void notifyOne() noexcept { condition_.notify_one(); }
    void notifyAll() noexcept { condition_.notify_all(); }

    template <class Predicate>
    void wait(MutexLock& lock, Predicate&& predicate)
    {
        condition_.wait(lock.lock_, std::forward<Predicate>(predicate));
    }
    template <class Rep, class Period, class Predicate>
    bool waitFor(MutexLock& lock, std::chrono::duration<Rep, Period> bound, Predicate&& predicate)
    {
        return condition_.wait_for(lock.lock_, bound, std::forward<Predicate>(predicate));
    }
    template <class TimeSource, class Duration, class Predicate>
    bool waitUntil(MutexLock& lock, std::chrono::time_point<TimeSource, Duration> deadline,
        Predicate&& predicate)
    {
        return condition_.wait_until(lock.lock_, deadline, std::forward<Predicate>(predicate));
    }

private:
    std::condition_variable condition_;
};

}
