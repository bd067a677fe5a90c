#pragma once

#include "hosts/linux/system_root.h"
#include "platform/processes.h"

namespace vossel {

// Mounted file systems by the kernel's own table; an image file is mounted through a loop device.
// Any thread.
class LinuxVolumes final : public Volumes {
public:
    // `root` holds /proc and /sys.
    explicit LinuxVolumes(std::string_view root = "/");

    // A trailing "/" does not matter; a symbolic link is not followed. False for images that a
    // program of its own mounts (FUSE): what such a file system says of itself is anybody's word.
    [[nodiscard]] bool isDiskImage(const std::string& mountPoint) const override;

private:
    SystemRoot root_;
};

}
