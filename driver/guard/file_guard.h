#pragma once

#include "driver/guard/guarded_folder.h"

#include <cstdint>
#include <vector>

namespace vossel {

// Owns the kernel's questions: every opening of a file on the guarded file systems blocks until it
// is answered (fanotify(7)). Destroying this lets everybody go who still waits. Whoever holds one
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

    // From here on the kernel asks about every opening there.
    Result<bool> guard(const GuardedFolder& folder);

    [[nodiscard]] int descriptor() const { return group_.get(); }
    // The questions that one read gives; empty when there are none.
    [[nodiscard]] std::vector<Event> read();
    // Must be called once for each event, also where the asker has died meanwhile.
    void answer(Event& event, bool allow);

private:
    UniqueFd group_;
    std::vector<std::byte> buffer_;
};

}
