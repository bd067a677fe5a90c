#pragma once

#include "hosts/linux/system_root.h"
#include "platform/processes.h"

namespace vossel {

// The process table under /proc. Any thread.
class LinuxProcesses final : public Processes {
public:
    // `root` holds /proc.
    explicit LinuxProcesses(std::string_view root = "/");

    [[nodiscard]] std::int32_t parentOf(std::uint32_t pid) const override;
    // An executable that was deleted or replaced since is named by the path that it had. Empty for
    // kernel threads and, unless the caller is root, for processes of other users.
    [[nodiscard]] std::string executablePath(std::uint32_t pid) const override;
    // By number.
    [[nodiscard]] std::vector<std::uint32_t> all() const override;

private:
    SystemRoot root_;
};

}
