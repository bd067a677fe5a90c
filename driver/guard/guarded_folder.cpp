#include "driver/guard/guarded_folder.h"

#include "hosts/linux/mount_table.h"
#include "hosts/linux/proc_file.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace vossel {

namespace {

constexpr unsigned wanted = STATX_BASIC_STATS | STATX_MNT_ID;

// A file handle with the room for its bytes, as the system calls take it.
struct Handle {
    alignas(file_handle) char bytes[sizeof(file_handle) + MAX_HANDLE_SZ] = {};

    file_handle* get() { return reinterpret_cast<file_handle*>(bytes); }
};

UniqueFd openHandle(int folder, const std::string& handle, int flags)
{
    Handle record;
    if (handle.size() < sizeof(int) || handle.size() > sizeof(int) + MAX_HANDLE_SZ)
        return UniqueFd();
    const std::size_t size = handle.size() - sizeof(int);
    record.get()->handle_bytes = static_cast<unsigned>(size);
    std::memcpy(&record.get()->handle_type, handle.data(), sizeof(int));
    std::memcpy(record.get()->f_handle, handle.data() + sizeof(int), size);
    return UniqueFd(::open_by_handle_at(folder, record.get(), flags | O_CLOEXEC));
}

Failure liesOnRoot(const std::string& path)
{
    return Failure{"Cannot watch " + path
        + ": it lies on the root file system, and stopping that would stop the machine"};
}

}

Result<bool> isApartFromRoot(const SystemRoot& root, const std::string& path)
{
    const std::vector<Mount> mounts = readMounts(root);
    const Mount* top = mountOf(mounts, "/");
    const Mount* own = mountOf(mounts, path);
    if (!top || !own)
        return Failure{"Cannot watch " + path + ": the mount table does not tell what lies there"};
    // A subvolume has a device number of its own, but guarding it guards all of its file system.
    const bool sameNumber = own->major == top->major && own->minor == top->minor;
    const bool sameDevice = own->source.starts_with('/') && own->source == top->source;
    if (sameNumber || sameDevice)
        return liesOnRoot(path);
    return true;
}

std::string fileHandle(int fd)
{
    Handle record;
    record.get()->handle_bytes = MAX_HANDLE_SZ;
    int mount = 0;
    if (::name_to_handle_at(fd, "", record.get(), &mount, AT_EMPTY_PATH) != 0)
        return {};
    std::string handle(reinterpret_cast<const char*>(&record.get()->handle_type), sizeof(int));
    handle.append(
        reinterpret_cast<const char*>(record.get()->f_handle), record.get()->handle_bytes);
    return handle;
}

std::optional<OpenedFile> examineOpened(int fd, std::uint64_t& mount)
{
    struct statx facts = {};
    if (::statx(fd, "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC, wanted, &facts) != 0)
        return std::nullopt;
    OpenedFile file;
    file.path = descriptorPath(fd);
    file.device = ::makedev(facts.stx_dev_major, facts.stx_dev_minor);
    file.inode = facts.stx_ino;
    file.regular = S_ISREG(facts.stx_mode);
    file.empty = facts.stx_size == 0;
    file.names = facts.stx_nlink;
    mount = facts.stx_mnt_id;
    return file;
}

Result<GuardedFolder> GuardedFolder::open(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(
        ::realpath(path.c_str(), nullptr), &std::free);
    if (!real)
        return Failure{"Cannot watch " + path + ": " + errorText(errno)};
    GuardedFolder folder;
    folder.path_ = real.get();
    folder.folder_.reset(::open(real.get(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct statx facts = {};
    struct stat root = {};
    if (!folder.folder_ || ::statx(folder.folder_.get(), "", AT_EMPTY_PATH, wanted, &facts) != 0
        || ::stat("/", &root) != 0)
        return Failure{"Cannot watch " + path + ": " + errorText(errno)};
    folder.device_ = ::makedev(facts.stx_dev_major, facts.stx_dev_minor);
    folder.mount_ = facts.stx_mnt_id;
    if (folder.device_ == root.st_dev)
        return liesOnRoot(path);
    if ((facts.stx_attributes & STATX_ATTR_MOUNT_ROOT) == 0)
        return Failure{"Cannot watch " + path
            + ": it is not a mount point, and its whole file system would be stopped with it"};
    if (Result<bool> apart = isApartFromRoot(SystemRoot(), folder.path_); !apart)
        return Failure{apart.reason()};
    return folder;
}

// Whether the path names this very file here too. Looks no further than the kernel's cache, where
// the asker has just put it: a look at the disk could wait for a folder that somebody who is
// blocked has locked.
bool GuardedFolder::leadsTo(const OpenedFile& file) const
{
    if (!file.path.starts_with(path_ + "/"))
        return false;
    open_how how = {};
    how.flags = O_PATH | O_NOFOLLOW | O_CLOEXEC;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_XDEV | RESOLVE_CACHED;
    const UniqueFd here(static_cast<int>(::syscall(
        SYS_openat2, folder_.get(), file.path.c_str() + path_.size() + 1, &how, sizeof how)));
    struct stat named = {};
    return here && ::fstat(here.get(), &named) == 0 && named.st_dev == file.device
        && named.st_ino == file.inode;
}

void GuardedFolder::resolve(OpenedFile& file, std::uint64_t mount, const std::string& handle) const
{
    if (mount != mount_ && !leadsTo(file)) {
        const UniqueFd here = openHandle(folder_.get(), handle, O_PATH);
        const std::string path = here ? descriptorPath(here.get()) : std::string();
        // Files outside of the part that is mounted here have no path here.
        if (path.starts_with(path_ + "/"))
            file.path = path;
    }
    // A path that the kernel cannot write out is none that a decision could name.
    if (file.path.empty())
        file.path = path_ + "/";
}

void GuardedFolder::removeEmpty(
    const std::string& parent, const std::string& name, const OpenedFile& file) const
{
    // The folder is opened by its handle: whoever was denied could put another folder, or a link,
    // into the path by now.
    const UniqueFd folder = openHandle(folder_.get(), parent, O_PATH | O_DIRECTORY);
    struct stat left = {};
    if (folder && ::fstatat(folder.get(), name.c_str(), &left, AT_SYMLINK_NOFOLLOW) == 0
        && left.st_dev == file.device && left.st_ino == file.inode && left.st_size == 0
        && left.st_nlink == 1)
        ::unlinkat(folder.get(), name.c_str(), 0);
}

}
