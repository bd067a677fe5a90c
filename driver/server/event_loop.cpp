#include "driver/server/event_loop.h"

#include <climits>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>

namespace vossel {

namespace {

// A descriptor's number is used again at once; the generation tells an event that was meant for the
// one before.
std::uint64_t tagOf(int fd, std::uint32_t generation)
{
    return (static_cast<std::uint64_t>(generation) << 32) | static_cast<std::uint32_t>(fd);
}

}

EventLoop::EventLoop()
    : epoll_(::epoll_create1(EPOLL_CLOEXEC))
    , wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (isValid() && !watch(wake_.get(), EPOLLIN, [this](std::uint32_t) { runPosted(); }))
        epoll_.reset();
}

bool EventLoop::watch(int fd, std::uint32_t events, Handler handler)
{
    const std::uint32_t generation = ++generation_;
    epoll_event event = {};
    event.events = events;
    event.data.u64 = tagOf(fd, generation);
    if (::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd, &event) != 0)
        return false;
    watched_[fd] = std::make_shared<Watched>(Watched{generation, std::move(handler)});
    return true;
}

void EventLoop::change(int fd, std::uint32_t events)
{
    const auto found = watched_.find(fd);
    if (found == watched_.end())
        return;
    epoll_event event = {};
    event.events = events;
    event.data.u64 = tagOf(fd, found->second->generation);
    ::epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, fd, &event);
}

void EventLoop::forget(int fd)
{
    if (watched_.erase(fd) > 0)
        ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, fd, nullptr);
}

void EventLoop::post(std::function<void()> job)
{
    {
        const MutexLock guard(lock_);
        posted_.push_back(std::move(job));
    }
    const std::uint64_t one = 1;
    // Fails only when the counter is full, and then the loop is awake anyway.
    [[maybe_unused]] const ssize_t written = ::write(wake_.get(), &one, sizeof one);
}

void EventLoop::runPosted()
{
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t taken = ::read(wake_.get(), &count, sizeof count);
    std::vector<std::function<void()>> jobs;
    {
        const MutexLock guard(lock_);
        jobs.swap(posted_);
    }
    for (const auto& job : jobs)
        job();
}

void EventLoop::dispatch(std::uint64_t tag, std::uint32_t events)
{
    const auto found = watched_.find(static_cast<int>(static_cast<std::uint32_t>(tag)));
    if (found == watched_.end() || found->second->generation != tag >> 32)
        return;
    // Kept alive while it runs: it may forget itself.
    const std::shared_ptr<Watched> watched = found->second;
    watched->handler(events);
}

int EventLoop::run(const Tick& tick)
{
    quitting_ = false;
    epoll_event events[64];
    while (!quitting_) {
        const Milliseconds wait = tick();
        if (quitting_)
            break;
        const auto bounded
            = static_cast<int>(std::clamp<Milliseconds::rep>(wait.count(), -1, INT_MAX));
        const int count = ::epoll_wait(epoll_.get(), events, 64, bounded);
        for (int i = 0; i < count && !quitting_; ++i)
            dispatch(events[i].data.u64, events[i].events);
    }
    return status_;
}

void EventLoop::quit(int status)
{
    quitting_ = true;
    status_ = status;
}

}
