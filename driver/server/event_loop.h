#pragma once

#include "foundation/files.h"
#include "foundation/mutex.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

namespace vossel {

// Waits for descriptors and calls whoever watches them. Owns the handlers, never the descriptors.
// Confined to the thread that runs it, except post(). A handler may forget any descriptor, its own
// included.
class EventLoop {
public:
    using Milliseconds = std::chrono::milliseconds;
    // Called with the epoll events that are there.
    using Handler = std::function<void(std::uint32_t events)>;
    // Does what is due by now and says how long nothing more is; negative: for ever.
    using Tick = std::function<Milliseconds()>;

    EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    // Whether the system gave what a loop needs; nothing else may be called before.
    [[nodiscard]] bool isValid() const { return epoll_ && wake_; }

    // `events` as of epoll, level-triggered; hang-up and error always come. False when refused.
    [[nodiscard]] bool watch(int fd, std::uint32_t events, Handler handler);
    void change(int fd, std::uint32_t events);
    // To be called before the descriptor is closed.
    void forget(int fd);
    // From any thread: `job` runs on the loop's thread.
    void post(std::function<void()> job);

    // Until quit(); returns what that was given. `tick` runs before each wait.
    int run(const Tick& tick);
    void quit(int status);

private:
    struct Watched {
        std::uint32_t generation;
        Handler handler;
    };

    void runPosted();
    void dispatch(std::uint64_t tag, std::uint32_t events);

    UniqueFd epoll_;
    UniqueFd wake_;
    std::unordered_map<int, std::shared_ptr<Watched>> watched_;
    std::uint32_t generation_ = 0;
    bool quitting_ = false;
    int status_ = 0;

    Mutex lock_;
    std::vector<std::function<void()>> posted_ VOSSEL_GUARDED_BY(lock_);
};

}
