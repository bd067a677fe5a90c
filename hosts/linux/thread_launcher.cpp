#include "hosts/linux/thread_launcher.h"

#include "foundation/files.h"
#include "foundation/log.h"

#include <algorithm>
#include <exception>
#include <string>
#include <utility>

namespace vossel {

namespace {

// A checked build keeps its own books on the stack.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t stackSize = 1024 * 1024;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr std::size_t stackSize = 1024 * 1024;
#else
constexpr std::size_t stackSize = 256 * 1024;
#endif
#else
constexpr std::size_t stackSize = 256 * 1024;
#endif

constexpr std::size_t maxNameSize = 15;

constexpr std::size_t maxParked = 4;
constexpr std::chrono::seconds parkedTime{5};

int createThread(pthread_t& thread, void* (*entry)(void*), void* argument)
{
    pthread_attr_t attributes;
    if (const int error = ::pthread_attr_init(&attributes))
        return error;
    int error = ::pthread_attr_setstacksize(&attributes, stackSize);
    if (error == 0)
        error = ::pthread_create(&thread, &attributes, entry, argument);
    ::pthread_attr_destroy(&attributes);
    return error;
}

void runLogged(const std::string& name, const std::function<void()>& entry)
{
    try {
        entry();
    } catch (const std::exception& exception) {
        logText("thread %@: ended by an exception: %@", name, exception.what());
    } catch (...) {
        logText("thread %@: ended by an exception", name);
    }
}

}

struct LinuxThreadLauncher::Start {
    LinuxThreadLauncher& launcher;
    std::string name;
    std::function<void()> entry;
};

// A thread without work, asleep until it is given some.
struct LinuxThreadLauncher::Parked {
    Condition woken;
    std::unique_ptr<Start> next; // see nextOf()
};

std::unique_ptr<LinuxThreadLauncher::Start>& LinuxThreadLauncher::nextOf(Parked& thread)
{
    return thread.next;
}

LinuxThreadLauncher::~LinuxThreadLauncher()
{
    MutexLock lock(lock_);
    beginJoiningLocked();
    allEnded_.wait(lock, [this]() VOSSEL_REQUIRES(lock_) { return running_ == 0; });
    if (hasLast_)
        ::pthread_join(last_, nullptr);
}

bool LinuxThreadLauncher::launch(std::string_view name, std::function<void()> entry)
{
    auto start = std::make_unique<Start>(
        Start{*this, std::string(name.substr(0, maxNameSize)), std::move(entry)});
    if (handToParked(start))
        return true;
    {
        const MutexLock guard(lock_);
        ++running_;
    }
    pthread_t thread = {};
    const int error = createThread(thread, &LinuxThreadLauncher::run, start.get());
    if (error == 0) {
        static_cast<void>(start.release()); // the thread's now
        return true;
    }
    logText("thread %@: not started: %@", name, errorText(error));
    const MutexLock guard(lock_);
    if (--running_ == 0)
        allEnded_.notifyAll();
    return false;
}

void* LinuxThreadLauncher::run(void* argument)
{
    std::unique_ptr<Start> start(static_cast<Start*>(argument));
    LinuxThreadLauncher& launcher = start->launcher;
    std::string name; // a system call less for a thread that stays what it is
    while (start) {
        if (name != start->name) {
            name = start->name;
            ::pthread_setname_np(::pthread_self(), name.c_str());
        }
        runLogged(start->name, start->entry);
        start.reset(); // what the entry held is given back before the thread counts as ended
        start = launcher.park();
    }
    launcher.ended(::pthread_self());
    return nullptr;
}

bool LinuxThreadLauncher::handToParked(std::unique_ptr<Start>& start)
{
    std::shared_ptr<Parked> thread;
    {
        const MutexLock guard(lock_);
        if (parked_.empty())
            return false;
        thread = std::move(parked_.back());
        parked_.pop_back();
        nextOf(*thread) = std::move(start);
    }
    thread->woken.notifyOne(); // without the lock, or the woken thread would only wait for it
    return true;
}

// The next piece of work, or none when the thread is to end.
std::unique_ptr<LinuxThreadLauncher::Start> LinuxThreadLauncher::park()
{
    const auto self = std::make_shared<Parked>();
    MutexLock lock(lock_);
    if (joining_ || parked_.size() >= maxParked)
        return nullptr;
    parked_.push_back(self);
    self->woken.waitFor(
        lock, parkedTime, [&]() VOSSEL_REQUIRES(lock_) { return nextOf(*self) || joining_; });
    if (!nextOf(*self))
        std::erase(parked_, self);
    return std::move(nextOf(*self));
}

void LinuxThreadLauncher::beginJoiningLocked()
{
    joining_ = true;
    for (const auto& thread : parked_)
        thread->woken.notifyOne();
}

void LinuxThreadLauncher::ended(pthread_t self)
{
    bool hasPrevious = false;
    pthread_t previous = {};
    {
        const MutexLock guard(lock_);
        hasPrevious = std::exchange(hasLast_, true);
        previous = std::exchange(last_, self);
        if (--running_ == 0)
            allEnded_.notifyAll();
    }
    if (hasPrevious)
        ::pthread_join(previous, nullptr);
}

bool LinuxThreadLauncher::joinAll(Clock::Duration bound)
{
    const auto wait
        = std::clamp<Clock::Duration>(bound, Clock::Duration::zero(), std::chrono::hours(24));
    bool hasLast = false;
    pthread_t last = {};
    {
        MutexLock lock(lock_);
        beginJoiningLocked();
        const bool allEnded = allEnded_.waitFor(
            lock, wait, [this]() VOSSEL_REQUIRES(lock_) { return running_ == 0; });
        joining_ = false;
        if (!allEnded)
            return false;
        hasLast = std::exchange(hasLast_, false);
        last = last_;
    }
    if (hasLast)
        ::pthread_join(last, nullptr);
    return true;
}

}
