#include "hosts/linux/volumes.h"

#include "foundation/files.h"
#include "hosts/linux/mount_table.h"

#include <algorithm>

namespace vossel {

LinuxVolumes::LinuxVolumes(std::string_view root)
    : root_(root)
{
}

bool LinuxVolumes::isDiskImage(const std::string& mountPoint) const
{
    const auto end = std::max<std::size_t>(mountPoint.find_last_not_of('/') + 1, 1);
    const std::string_view folder = std::string_view(mountPoint).substr(0, end);
    const auto mounts = readMounts(root_);
    const Mount* mount = mountOf(mounts, folder);
    if (!mount || mount->mountPoint != folder)
        return false;
    const std::string device = root_.at(
        "/sys/dev/block/" + std::to_string(mount->major) + ":" + std::to_string(mount->minor));
    // A partition inside an image lies below its loop device.
    return isDirectory(device + "/loop")
        || (fileExists(device + "/partition") && isDirectory(device + "/../loop"));
}

}
