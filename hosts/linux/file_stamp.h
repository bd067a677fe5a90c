#pragma once

#include <sys/stat.h>

#include <cstdint>

namespace vossel {

// Which file it is and when it was last written: what differs once it has changed. All zero for no
// file.
struct FileStamp {
    std::uint64_t inode = 0;
    std::int64_t seconds = 0;
    std::int64_t nanoseconds = 0;
    std::int64_t size = 0;

    [[nodiscard]] static FileStamp of(const struct stat& facts)
    {
        return {facts.st_ino, facts.st_mtim.tv_sec, facts.st_mtim.tv_nsec, facts.st_size};
    }

    bool operator==(const FileStamp&) const = default;
};

}
