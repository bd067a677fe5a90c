#include "hosts/linux/mount_table.h"

#include "foundation/files.h"

#include <charconv>
#include <sstream>

namespace vossel {

namespace {

constexpr std::size_t maxTableSize = 64 * 1024 * 1024;

// The kernel writes blanks and backslashes as "\040": three octal digits.
std::string unescaped(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned value = 0;
        const auto digits
            = text.substr(i).starts_with('\\') ? text.substr(i + 1, 3) : std::string_view();
        const auto [end, error]
            = std::from_chars(digits.data(), digits.data() + digits.size(), value, 8);
        const bool escape = digits.size() == 3 && error == std::errc() && end == digits.data() + 3
            && value <= 0xff;
        result += escape ? static_cast<char>(value) : text[i];
        i += escape ? 3 : 0;
    }
    return result;
}

bool contains(std::string_view mountPoint, std::string_view path)
{
    return mountPoint == "/"
        || (path.starts_with(mountPoint)
            && (path.size() == mountPoint.size() || path[mountPoint.size()] == '/'));
}

}

std::vector<Mount> readMounts(const SystemRoot& root, std::string_view process)
{
    std::vector<Mount> mounts;
    const auto table
        = readFile(root.at("/proc/" + std::string(process) + "/mountinfo"), maxTableSize);
    if (!table)
        return mounts;
    std::istringstream lines(*table);
    for (std::string line; std::getline(lines, line);) {
        // "36 35 98:0 /mnt1 /mnt2 rw shared:1 - ext4 /dev/sda1 rw": number, parent, device, root,
        // mount point, options, any number of further words, "-", kind, source.
        std::istringstream fields(line);
        std::string skipped;
        std::string mountPoint;
        Mount mount;
        char colon = 0;
        if (fields >> skipped >> skipped >> mount.major >> colon >> mount.minor >> skipped
                >> mountPoint
            && colon == ':') {
            mount.mountPoint = unescaped(mountPoint);
            while (fields >> skipped && skipped != "-") { }
            if (std::string source; fields >> skipped >> source)
                mount.source = unescaped(source);
            mounts.push_back(std::move(mount));
        }
    }
    return mounts;
}

const Mount* mountOf(const std::vector<Mount>& mounts, std::string_view path)
{
    const Mount* best = nullptr;
    for (const Mount& mount : mounts)
        if (contains(mount.mountPoint, path)
            && (!best || mount.mountPoint.size() >= best->mountPoint.size()))
            best = &mount;
    return best;
}

}
