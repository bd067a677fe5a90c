#pragma once

#include "foundation/files.h"
#include "hosts/linux/system_root.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// What /proc tells of a process, a thread or a descriptor (proc(5)): the only code that reads it,
// for the agent and for the driver. `root` holds /proc. Nothing here opens a file outside of it,
// waits for a disk, or needs the process to run.

namespace vossel {

// The first 4 KiB of /proc/ID/NAME; empty when it cannot be read.
[[nodiscard]] std::string readProcFile(const SystemRoot& root, std::int32_t id, const char* name);

// The line "stat" of a process. The second field is the program's own choice of a name and may hold
// anything, "(" and ")" and numbers included.
class StatLine {
public:
    [[nodiscard]] static StatLine of(const SystemRoot& root, std::int32_t process);

    // From the fourth field on, counted as in proc(5); nothing where it is missing or no number.
    [[nodiscard]] std::optional<std::int64_t> field(int number) const;
    [[nodiscard]] std::optional<std::int64_t> parent() const { return field(4); }

private:
    std::string fields_; // from the third on
};

// In clock ticks since boot; 0 when there is no such process. With the number it names a process
// for good.
[[nodiscard]] std::uint64_t readStartTime(const SystemRoot& root, std::int32_t process);

struct ThreadFacts {
    std::int32_t process = 0; // the thread group
    std::int32_t parent = 0;
    std::uint32_t realUser = 0;
    std::uint32_t effectiveUser = 0;
    std::uint32_t savedUser = 0;

    bool operator==(const ThreadFacts&) const = default;
};

// Nothing when the thread is gone.
[[nodiscard]] std::optional<ThreadFacts> readThreadFacts(
    const SystemRoot& root, std::int32_t thread);

// The file that a process runs, wherever it lies.
struct Executable {
    std::string path; // the one that it has, or had before it was deleted or renamed
    std::uint64_t device = 0;
    std::uint64_t inode = 0; // 0: only the path is known
    std::int64_t changed = 0; // ctime, nanoseconds
};

// Nothing for kernel threads and, unless the caller is root, for processes of other users.
[[nodiscard]] std::optional<Executable> readExecutable(
    const SystemRoot& root, std::int32_t process);

// Holds that file without access to its content, which would ask the driver.
[[nodiscard]] UniqueFd openExecutable(std::int32_t process);

// Names what the descriptor of this process is open on, also where it has no other name.
[[nodiscard]] std::string descriptorLink(int fd);
// The path behind that, with " (deleted)" where that is so; empty where the kernel gives none.
[[nodiscard]] std::string descriptorPath(int fd);

}
