#pragma once

#include "driver/guard/guarded_folder.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace vossel {

// Knows which opening has just created its file. The flags of the call do not tell: they allow a
// creation, and the file may have been there. The kernel reports the creation before it asks about
// the opening. Confined to the loop's thread.
class CreationNotes {
public:
    struct Creation {
        std::int32_t thread = 0;
        std::string file; // handle
        std::string folder; // handle
        std::string name;
    };

    // Nothing where the kernel or the file system of a folder cannot report creations.
    static std::optional<CreationNotes> open(const std::vector<GuardedFolder>& folders);

    // Reads what was reported. To be called before openings that came at the same time are looked
    // at.
    void refresh();
    // Hands out the creation of this file by this thread, and forgets it.
    [[nodiscard]] std::optional<Creation> take(std::int32_t thread, const std::string& file);

private:
    void readOnce(std::size_t size);

    // Creations without an opening (links, device nodes) are never taken and fall out at the end.
    static constexpr std::size_t maxNotes = 16384;

    UniqueFd group_;
    std::vector<std::byte> buffer_;
    std::deque<Creation> notes_; // newest first
};

}
