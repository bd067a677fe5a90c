#include "foundation/file_replacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <random>

namespace vossel {

namespace {

int writeWhole(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        const auto count = ::write(fd, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR)
            return errno;
        if (count > 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return 0;
}

// Errors that say "not beside it", where writing in place may still do.
bool isRefusal(int error)
{
    constexpr std::array refusals = {EACCES, EPERM, EROFS, EXDEV, EBUSY};
    return std::find(refusals.begin(), refusals.end(), error) != refusals.end();
}

// Hidden, random, and short enough for a file name.
std::string besideNameFor(std::string_view name)
{
    static constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::string beside(1, '.');
    beside.append(name.substr(0, 200)).append(1, '.');
    std::random_device source;
    for (int i = 0; i < 12; ++i)
        beside += letters[source() % letters.size()];
    return beside;
}

}

FileReplacement::~FileReplacement()
{
    discard();
}

int FileReplacement::open()
{
    // A NUL would silently name another file.
    if (path_.find('\0') != std::string::npos)
        return EINVAL;
    do {
        file_.reset(::open(path_.c_str(),
            O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, mode_));
    } while (!file_ && errno == EINTR);
    struct stat facts = {};
    if (!file_ || ::fstat(file_.get(), &facts) != 0)
        return errno;
    regular_ = S_ISREG(facts.st_mode);
    if (!regular_) {
        // From here on a slow reader is waited for.
        const int flags = ::fcntl(file_.get(), F_GETFL);
        return ::fcntl(file_.get(), F_SETFL, flags & ~O_NONBLOCK) == 0 ? 0 : errno;
    }
    const int error = openBeside();
    if (error == 0)
        return 0;
    // Without room for a second file nothing can be appended, and the old content is not touched.
    if (!isRefusal(error)) {
        failure_ = error;
        return 0;
    }
    return ::ftruncate(file_.get(), 0) == 0 ? 0 : errno;
}

int FileReplacement::openBeside()
{
    const auto slash = path_.rfind('/');
    const auto folder = slash == std::string::npos ? "." : path_.substr(0, slash + 1);
    folder_.reset(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder_)
        return errno;
    struct stat old = {};
    if (::fstat(file_.get(), &old) != 0)
        return errno;
    besideName_ = besideNameFor(std::string_view(path_).substr(slash + 1)); // npos + 1 is 0
    beside_.reset(::openat(folder_.get(), besideName_.c_str(),
        O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!beside_)
        return errno;
    struct stat made = {};
    int error = ::fstat(beside_.get(), &made) == 0 ? 0 : errno;
    const bool othersFile = made.st_uid != old.st_uid || made.st_gid != old.st_gid;
    if (error == 0 && othersFile && ::fchown(beside_.get(), old.st_uid, old.st_gid) != 0)
        error = errno;
    if (error == 0 && ::fchmod(beside_.get(), mode_) != 0)
        error = errno;
    if (error != 0)
        discard();
    return error;
}

int FileReplacement::append(std::string_view bytes)
{
    if (failure_ != 0)
        return failure_;
    if (!beside_) // nothing is left to save here: what can be written, is
        return writeWhole(file_.get(), bytes);
    return failure_ = writeWhole(beside_.get(), bytes);
}

int FileReplacement::commit()
{
    bool replaced = false;
    if (beside_ && failure_ == 0) {
        failure_ = takePlace();
        replaced = failure_ == 0;
        if (isRefusal(failure_))
            failure_ = copyInPlace();
    }
    discard();
    // A device keeps its own mode, and the file that was replaced may have other names.
    if (regular_ && !replaced)
        (void)::fchmod(file_.get(), mode_);
    if (failure_ != 0)
        return failure_;
    // Some file systems (network, quota) report a failed write only here.
    return ::close(file_.release()) == 0 || errno == EINTR ? 0 : errno;
}

int FileReplacement::takePlace()
{
    if (::fsync(beside_.get()) != 0)
        return errno;
    const auto slash = path_.rfind('/');
    const auto name = path_.substr(slash + 1);
    if (::renameat(folder_.get(), besideName_.c_str(), folder_.get(), name.c_str()) != 0)
        return errno;
    besideName_.clear();
    // The new name is on the disk when its folder is. Not every file system can say so.
    (void)::fsync(folder_.get());
    return 0;
}

int FileReplacement::copyInPlace()
{
    if (::lseek(beside_.get(), 0, SEEK_SET) < 0 || ::ftruncate(file_.get(), 0) != 0)
        return errno;
    std::array<char, 65'536> piece; // NOLINT(cppcoreguidelines-pro-type-member-init)
    for (;;) {
        const auto count = ::read(beside_.get(), piece.data(), piece.size());
        if (count == 0)
            return ::fsync(file_.get()) == 0 ? 0 : errno;
        if (count < 0 && errno != EINTR)
            return errno;
        const auto bytes = count < 0
            ? std::string_view()
            : std::string_view(piece.data(), static_cast<std::size_t>(count));
        if (const int error = writeWhole(file_.get(), bytes); error != 0)
            return error;
    }
}

void FileReplacement::discard()
{
    beside_.reset();
    if (!besideName_.empty())
        (void)::unlinkat(folder_.get(), besideName_.c_str(), 0);
    besideName_.clear();
}

}
