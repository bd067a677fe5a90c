#pragma once

#include "foundation/mutex.h"
#include "platform/clock.h"
#include "platform/threads.h"

#include <cstddef>
#include <memory>
#include <pthread.h>
#include <vector>

namespace vossel {

// Threads with small stacks: one waits for each query, and ten thousand may wait at once. Nobody
// holds a thread's handle, but they are counted and each is joined by the one that ends after it. A
// few that have done their work stay for the next piece: starting one costs as much as a whole
// short answer. Callable from any thread.
class LinuxThreadLauncher final : public ThreadLauncher {
public:
    LinuxThreadLauncher() = default;
    // Waits for every thread, without a bound: they may use whatever is older than the launcher.
    // Who cannot wait asks joinAll first and, where that says false, leaves the process by _exit.
    ~LinuxThreadLauncher() override;
    LinuxThreadLauncher(const LinuxThreadLauncher&) = delete;
    LinuxThreadLauncher& operator=(const LinuxThreadLauncher&) = delete;

    // The system shows at most 15 bytes of `name`.
    [[nodiscard]] bool launch(std::string_view name, std::function<void()> entry) override;

    // Whether all threads, those that others launch meanwhile included, ended within `bound`. Not
    // to be called on a launched thread.
    [[nodiscard]] bool joinAll(Clock::Duration bound);

private:
    struct Start;
    struct Parked;

    static void* run(void* start);
    [[nodiscard]] bool handToParked(std::unique_ptr<Start>& start);
    [[nodiscard]] std::unique_ptr<Start> park();
    void ended(pthread_t self);
    void beginJoiningLocked() VOSSEL_REQUIRES(lock_);
    // What a parked thread is to do next. It cannot name the lock that guards it.
    [[nodiscard]] std::unique_ptr<Start>& nextOf(Parked& thread) VOSSEL_REQUIRES(lock_);

    Mutex lock_;
    Condition allEnded_;
    std::size_t running_ VOSSEL_GUARDED_BY(lock_) = 0; // those that are parked included
    // The one that came last is the warmest.
    std::vector<std::shared_ptr<Parked>> parked_ VOSSEL_GUARDED_BY(lock_);
    bool joining_ VOSSEL_GUARDED_BY(lock_) = false; // nobody parks now
    bool hasLast_ VOSSEL_GUARDED_BY(lock_) = false;
    pthread_t last_ VOSSEL_GUARDED_BY(lock_) = {}; // ended last and still to be joined
};

}
