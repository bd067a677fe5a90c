#pragma once

#include "hosts/linux/system_root.h"

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace vossel {

struct ControllingTerminal {
    std::string path; // "/dev/pts/3"; whether it is there was not looked at
    std::uint64_t device = 0; // as stat(2)'s st_rdev
    std::int32_t processGroup = 0;
    std::int32_t session = 0;
    std::int32_t foregroundGroup = 0; // not positive when nobody has the foreground

    bool operator==(const ControllingTerminal&) const = default;
};

// Whose terminal a process belongs to, and what it was told of it, by /proc. Any thread.
class LinuxTerminals {
public:
    // `root` holds /proc and /sys; the paths that are returned are without it.
    explicit LinuxTerminals(std::string_view root = "/");

    // Empty for a process without a terminal, gone, or when the kernel does not say; also when its
    // terminal has another's name here, as in a container.
    [[nodiscard]] std::optional<ControllingTerminal> of(std::int32_t pid) const;
    // Which process group has the foreground of this terminal, by the word of a process on it;
    // empty when that has another terminal or is gone.
    [[nodiscard]] std::optional<std::int32_t> foregroundOf(
        std::uint64_t device, std::int32_t pid) const;
    // Whether processes other than these and their ancestors belong to this session, and so have
    // its terminal. Asks the kernel about every process, about 1 us each.
    [[nodiscard]] bool hasOthers(
        std::int32_t session, std::initializer_list<std::int32_t> processes) const;
    // A variable of the environment that a process was started with; empty when it may not be read,
    // is not there or is longer than 4096 bytes. The value is the process's own word: any bytes but
    // NUL.
    [[nodiscard]] std::optional<std::string> environmentOf(
        std::int32_t pid, std::string_view variable) const;

private:
    [[nodiscard]] std::optional<std::string> pathOf(unsigned major, unsigned minor) const;
    [[nodiscard]] bool isKnownHere(const std::string& path, std::int32_t session) const;

    SystemRoot root_;
};

}
