#pragma once

#include "driver/guard/guarded_folder.h"

#include <cstdint>
#include <vector>

namespace vossel {

// The kernel's questions: every opening of a file on the guarded file systems blocks until it is
// answered (fanotify(7)). Destroying this lets go everybody who still waits. Whoever holds one
// never forks: a copy of the descriptor in another process would keep everybody blocked. Confined
// to the loop's thread.
class FileGuard {
public:
    struct Event {
        UniqueFd file;
        std::int32_t thread = 0; // 0: in a process namespace that is not visible from here
        bool execute = false;
    };

    // Fails where the kernel or the process's rights do not allow it.
    static Result<FileGuard> open();

    // From here on openings there ask.
    Result<bool> guard(const GuardedFolder& folder);

    [[nodiscard]] int descriptor() const { return group_.get(); }
    // What the next read gives; nothing when nobody asks.
    [[nodiscard]] std::vector<Event> read();
    // Once for each event. An asker that has died meanwhile does no harm.
    void answer(Event& event, bool allow);

private:
    UniqueFd group_;
    std::vector<std::byte> buffer_;
};

}
