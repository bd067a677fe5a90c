#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// What /proc tells of a thread or process (proc(5)). `procFolder` is "/proc" in earnest. Nothing
// here opens a file outside of it, waits, or needs the thread to run.

namespace vossel {

// The first 4 KiB of /proc/ID/NAME; empty when it cannot be read.
[[nodiscard]] std::string readProcFile(
    const std::string& procFolder, std::int32_t id, const char* name);

struct ThreadFacts {
    std::int32_t process = 0; // the thread group
    std::int32_t parent = 0;
    std::uint32_t realUser = 0;

    bool operator==(const ThreadFacts&) const = default;
};

// Nothing when the thread is gone.
[[nodiscard]] std::optional<ThreadFacts> readThreadFacts(
    const std::string& procFolder, std::int32_t thread);

// In clock ticks since boot; 0 when there is no such process. With the number it names a process
// for good.
[[nodiscard]] std::uint64_t readStartTime(const std::string& procFolder, std::int32_t process);

}
