#pragma once

#include "hosts/linux/system_root.h"

#include <string>
#include <string_view>
#include <vector>

namespace vossel {

// One mounted file system, as this process sees it.
struct Mount {
    unsigned major = 0;
    unsigned minor = 0;
    std::string mountPoint; // without a trailing "/", but for "/"
    std::string source; // what was mounted: a device's path, or whatever the mounter called it

    bool operator==(const Mount&) const = default;
};

// What a process (a number, or "self") sees, in the order of mounting; `root` holds /proc. Empty
// when it cannot be read; a line that is none is left out.
[[nodiscard]] std::vector<Mount> readMounts(
    const SystemRoot& root, std::string_view process = "self");

// The mount that a path lies in: among the deepest the last one, which covers the others. Null when
// there is none.
[[nodiscard]] const Mount* mountOf(const std::vector<Mount>& mounts, std::string_view path);

}
