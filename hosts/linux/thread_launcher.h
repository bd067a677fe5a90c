#pragma once

#include "platform/clock.h"
#include "platform/threads.h"

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <pthread.h>

namespace vossel {

// Threads with small stacks: one waits for each query, and ten thousand may wait at once. Nobody
// holds a thread's handle, but they are counted and each is joined by the one that ends after it.
// Callable from any thread.
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

    static void* run(void* start);
    void ended(pthread_t self);

    std::mutex lock_;
    std::condition_variable allEnded_;
    std::size_t running_ = 0; // guarded by lock_
    bool hasLast_ = false; // guarded by lock_
    pthread_t last_ = {}; // guarded by lock_: ended last and still to be joined
};

}
