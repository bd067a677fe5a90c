#pragma once

#include "hosts/linux/system_root.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct stat;

namespace vossel {

// Files that only the administrator can have put where they are: they lie in a folder of the
// system, belong to whoever owns the root folder, and neither they nor the folder around them may
// be written by others. Other paths are told by their text alone and never looked at, so that no
// mount of a user's own can hold the caller up. Paths are those inside the root. Any thread.
class SystemFiles {
public:
    explicit SystemFiles(SystemRoot root);

    // By its text: whether it lies below a folder where distributions, vendors and package systems
    // install.
    [[nodiscard]] static bool liesInSystem(std::string_view path);
    // The file that a path of the system comes to once its links are followed; empty where it is
    // missing, where links run in a circle or where it is none of the system's files.
    [[nodiscard]] std::string resolve(std::string_view path) const;
    // These take what `resolve` gave.
    [[nodiscard]] bool isExecutable(std::string_view path) const;
    [[nodiscard]] bool isScript(std::string_view path) const;
    // Of a regular file of at most `limit` bytes. Never waits for a pipe or a device.
    [[nodiscard]] std::optional<std::string> read(std::string_view path, std::size_t limit) const;
    // Follows links, and asks of a folder what is asked of a file.
    [[nodiscard]] bool isSystemFolder(std::string_view path) const;
    [[nodiscard]] const SystemRoot& root() const { return root_; }

private:
    [[nodiscard]] std::string follow(std::string_view path) const;
    [[nodiscard]] bool isOwned(const struct stat& facts) const;

    SystemRoot root_;
    std::uint32_t owner_ = 0;
};

}
