#include "hosts/linux/installers.h"

#include "foundation/files.h"
#include "hosts/linux/mount_table.h"
#include "hosts/linux/proc_file.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <array>
#include <sstream>

namespace vossel {

namespace {

constexpr std::size_t maxKernelFileSize = 16 * 1024 * 1024;

// Outermost first: the front end holds the first lock for the whole installation, and passes the
// second one to and fro. Only record locks count, which need write access: anybody who can read a
// file may flock it.
constexpr std::array<std::string_view, 4> lockFiles = {
    "/var/lib/dpkg/lock-frontend",
    "/var/lib/dpkg/lock",
    "/usr/lib/sysimage/rpm/.rpm.lock",
    "/var/lib/rpm/.rpm.lock",
};

// Its existence is the lock, and does not tell whose.
constexpr std::string_view pacmanLock = "/var/lib/pacman/db.lck";

// These unpack packages and run the scripts in them, themselves or by a library.
constexpr std::array<std::string_view, 6> installDaemons = {
    "/usr/bin/dpkg",
    "/usr/bin/rpm",
    "/usr/bin/dnf5",
    "/usr/bin/microdnf",
    "/usr/bin/zypper",
    "/usr/bin/pacman",
};

// These run one of the above, or are one. Managers written for an interpreter are missing: they run
// as that interpreter, and are found by their locks alone.
constexpr std::array<std::string_view, 5> frontEnds = {
    "/usr/bin/apt",
    "/usr/bin/apt-get",
    "/usr/bin/aptitude",
    "/usr/libexec/packagekitd",
    "/usr/lib/packagekit/packagekitd",
};

template <std::size_t N>
bool contains(const std::array<std::string_view, N>& list, std::string_view item)
{
    return std::find(list.begin(), list.end(), item) != list.end();
}

bool isManager(std::string_view executable)
{
    return contains(installDaemons, executable) || contains(frontEnds, executable);
}

// "1: POSIX  ADVISORY  WRITE 1234 fe:01:12345 0 EOF": kind, pid, device and inode. Who only waits
// for a lock has an arrow before the kind.
struct LockLine {
    std::string kind;
    std::string access;
    long pid = 0;
    unsigned major = 0;
    unsigned minor = 0;
    ino_t inode = 0;
};

bool parseLock(const std::string& line, LockLine& lock)
{
    std::istringstream fields(line);
    std::string skipped;
    std::array<char, 2> colons = {};
    fields >> skipped >> lock.kind >> skipped >> lock.access >> lock.pid >> std::hex >> lock.major
        >> colons[0] >> lock.minor >> colons[1] >> std::dec >> lock.inode;
    return fields && colons[0] == ':' && colons[1] == ':';
}

}

LinuxInstallers::LinuxInstallers(std::string_view root, UserId owner)
    : root_(root)
    , processes_(root)
    , owner_(owner)
{
}

bool LinuxInstallers::isInstallDaemon(std::string_view executable) const
{
    return contains(installDaemons, executable);
}

std::uint32_t LinuxInstallers::runningInstaller() const
{
    for (const std::string_view file : lockFiles)
        if (const std::uint32_t holder = lockHolder(file))
            return outermost(holder);
    if (!fileExists(root_.at(pacmanLock)))
        return 0;
    for (const std::uint32_t pid : processes_.all())
        if (processes_.executablePath(pid) == "/usr/bin/pacman" && runsAsOwner(pid))
            return outermost(pid);
    return 0;
}

std::uint32_t LinuxInstallers::lockHolder(std::string_view lockFile) const
{
    const std::string path = root_.at(lockFile);
    struct stat file = {};
    // Anybody else's file, or one that others may write, can be locked by them.
    if (::stat(path.c_str(), &file) != 0 || file.st_uid != owner_
        || (file.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        return 0;
    const auto locks = readFile(root_.at("/proc/locks"), maxKernelFileSize);
    if (!locks)
        return 0;
    // Some file systems show a file under another device number than their mount's, which is the
    // one that the kernel's table names.
    const auto mounts = readMounts(root_);
    const Mount* mount = mountOf(mounts, path);
    std::istringstream lines(*locks);
    for (std::string line; std::getline(lines, line);) {
        LockLine lock;
        if (!parseLock(line, lock) || lock.kind != "POSIX" || lock.access != "WRITE"
            || lock.pid <= 0 || lock.inode != file.st_ino)
            continue;
        const bool direct = lock.major == major(file.st_dev) && lock.minor == minor(file.st_dev);
        if (direct || (mount && lock.major == mount->major && lock.minor == mount->minor))
            return static_cast<std::uint32_t>(lock.pid);
    }
    return 0;
}

std::uint32_t LinuxInstallers::outermost(std::uint32_t pid) const
{
    // Bounded: the table may change under us into a circle of reused numbers.
    std::int32_t ancestor = processes_.parentOf(pid);
    for (int generation = 0; generation < 64 && ancestor > 0; ++generation) {
        const auto candidate = static_cast<std::uint32_t>(ancestor);
        if (isManager(processes_.executablePath(candidate)) && runsAsOwner(candidate))
            pid = candidate;
        ancestor = processes_.parentOf(candidate);
    }
    return pid;
}

bool LinuxInstallers::runsAsOwner(std::uint32_t pid) const
{
    const auto facts = readThreadFacts(root_, static_cast<std::int32_t>(pid));
    // A program that became root for its caller still has the caller as its real user.
    return facts && facts->realUser == owner_ && facts->effectiveUser == owner_
        && facts->savedUser == owner_;
}

}
