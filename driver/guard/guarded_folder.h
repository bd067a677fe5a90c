#pragma once

#include "foundation/files.h"
#include "hosts/linux/system_root.h"

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

namespace vossel {

// What a driver must know of an opened file. `path` is the one below the guarded folder, whatever
// the process that opened it calls it.
struct OpenedFile {
    std::string path;
    std::string id; // names the file for good, whatever becomes of its names and its inode's number
    dev_t device = 0;
    ino_t inode = 0;
    bool regular = false;
    bool empty = false;
    nlink_t names = 0;
};

// A mount point whose whole file system is guarded. Immutable; its descriptor was opened before the
// file system was guarded, so that nothing here opens anything that asks.
class GuardedFolder {
public:
    // Fails for whatever is no mount point, and for the root file system.
    static Result<GuardedFolder> open(const std::string& path);

    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] dev_t device() const { return device_; }
    [[nodiscard]] bool holds(const OpenedFile& file) const { return file.device == device_; }

    // Replaces a path from somewhere else (another mount namespace, a second mount) by the one
    // here. With several names, it may be another of them.
    void resolve(OpenedFile& file, std::uint64_t mount, const std::string& handle) const;
    // Removes what a denied creation left behind: `name` in the folder `parent`, a handle, while
    // that is still the empty file `file` under its only name. May wait; not for the loop's thread.
    void removeEmpty(
        const std::string& parent, const std::string& name, const OpenedFile& file) const;

private:
    [[nodiscard]] bool leadsTo(const OpenedFile& file) const;

    std::string path_;
    UniqueFd folder_;
    dev_t device_ = 0;
    std::uint64_t mount_ = 0;
};

// A file's handle: its type and bytes, as name_to_handle_at(2) gives them. Empty where refused.
[[nodiscard]] std::string fileHandle(int fd);

// Whether the file system mounted at `path`, which is absolute and without links, may be guarded as
// far as the mount table below `root` tells: not when it is the root file system, whose device
// numbers need not be the same in every part of it, and not when that cannot be told.
[[nodiscard]] Result<bool> isApartFromRoot(const SystemRoot& root, const std::string& path);

// Tells path, identity and kind by the descriptor alone; `mount` is set to where it was opened.
[[nodiscard]] std::optional<OpenedFile> examineOpened(int fd, std::uint64_t& mount);

}
