#include "foundation/files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace vossel {

namespace {

Failure failure(std::string_view name, std::string_view reason)
{
    return Failure{std::string(name).append(": ").append(reason)};
}

Failure tooLong(std::string_view name, std::size_t limit)
{
    return failure(name, "more than " + std::to_string(limit) + " bytes");
}

int openRetrying(const std::string& path, int flags, unsigned mode = 0)
{
    // A NUL would silently name another file.
    if (path.find('\0') != std::string::npos) {
        errno = EINVAL;
        return -1;
    }
    int fd = -1;
    do {
        fd = ::open(path.c_str(), flags | O_CLOEXEC, mode);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

bool status(const std::string& path, struct stat& result)
{
    return path.find('\0') == std::string::npos && ::stat(path.c_str(), &result) == 0;
}

bool accessible(const std::string& path, int mode)
{
    return path.find('\0') == std::string::npos
        && ::faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0;
}

// A descriptor that somebody made non-blocking is waited for, not failed.
ssize_t readSome(int fd, char* into, std::size_t size)
{
    for (;;) {
        const auto count = ::read(fd, into, size);
        if (count >= 0)
            return count;
        if (errno == EAGAIN) {
            pollfd waiting = {fd, POLLIN, 0};
            if (::poll(&waiting, 1, -1) < 0 && errno != EINTR)
                return -1;
        } else if (errno != EINTR) {
            return -1;
        }
    }
}

}

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept
{
    if (this != &other)
        reset(other.release());
    return *this;
}

int UniqueFd::release() noexcept
{
    return std::exchange(fd_, -1);
}

void UniqueFd::reset(int fd) noexcept
{
    const int old = std::exchange(fd_, fd);
    // Not retried on EINTR: the descriptor is gone then too, and may already be somebody else's.
    if (old >= 0 && old != fd)
        ::close(old);
}

Result<std::string> readFile(const std::string& path, std::size_t limit)
{
    // Without O_NONBLOCK the open of a pipe that nobody writes to would wait for ever; such a pipe
    // reads as empty.
    const UniqueFd file(openRetrying(path, O_RDONLY | O_NONBLOCK | O_NOCTTY));
    if (!file)
        return failure(path, errorText(errno));
    return readDescriptor(file.get(), limit, path);
}

Result<std::string> readDescriptor(int fd, std::size_t limit, std::string_view name)
{
    struct stat facts = {};
    if (::fstat(fd, &facts) != 0)
        return failure(name, errorText(errno));
    if (S_ISDIR(facts.st_mode))
        return failure(name, errorText(EISDIR));
    const auto announced = S_ISREG(facts.st_mode) && facts.st_size > 0
        ? static_cast<std::size_t>(facts.st_size)
        : std::size_t{0};

    // The size is a hint only: files under /proc have none, and others grow meanwhile. One byte
    // more than announced is asked for, so that the end is usually found without growing again.
    static constexpr std::size_t step = 65'536;
    std::string content;
    std::size_t length = 0;
    for (;;) {
        if (length == content.size()) {
            if (length > limit)
                return tooLong(name, limit);
            const auto wanted = length < announced ? announced - length : std::max(step, length);
            // At most one byte beyond the limit, which tells a full file from one too long.
            content.resize(length + std::min(wanted, limit - length) + 1);
        }
        const auto count = readSome(fd, content.data() + length, content.size() - length);
        if (count < 0)
            return failure(name, errorText(errno));
        if (count == 0)
            break;
        length += static_cast<std::size_t>(count);
    }
    if (length > limit)
        return tooLong(name, limit);
    content.resize(length);
    return content;
}

Result<bool> writeFile(const std::string& path, std::string_view content, unsigned mode)
{
    UniqueFd file(openRetrying(path, O_WRONLY | O_CREAT | O_TRUNC | O_NOCTTY, mode));
    if (!file)
        return failure(path, errorText(errno));
    while (!content.empty()) {
        const auto count = ::write(file.get(), content.data(), content.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return failure(path, errorText(errno));
        content.remove_prefix(static_cast<std::size_t>(count));
    }
    // Some file systems (network, quota) report a failed write only here.
    if (::close(file.release()) != 0 && errno != EINTR)
        return failure(path, errorText(errno));
    return true;
}

FileSize fileSize(const std::string& path)
{
    struct stat facts = {};
    errno = EINVAL; // what a NUL in the path amounts to
    if (!status(path, facts))
        return {0, errno};
    return {static_cast<std::uint64_t>(std::max<off_t>(facts.st_size, 0)), 0};
}

FileToRead openRefusingLink(const std::string& path)
{
    UniqueFd fd(openRetrying(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    struct stat facts = {};
    if (!fd || ::fstat(fd.get(), &facts) != 0)
        return {UniqueFd(), 0, errno};
    return {std::move(fd), static_cast<std::uint64_t>(std::max<off_t>(facts.st_size, 0)), 0};
}

std::optional<int> readExactly(int fd, char* into, std::size_t size)
{
    while (size > 0) {
        const auto count = readSome(fd, into, size);
        if (count <= 0)
            return count < 0 ? errno : 0;
        into += count;
        size -= static_cast<std::size_t>(count);
    }
    return std::nullopt;
}

bool fileExists(const std::string& path)
{
    struct stat facts = {};
    return status(path, facts);
}

bool isDirectory(const std::string& path)
{
    struct stat facts = {};
    return status(path, facts) && S_ISDIR(facts.st_mode);
}

bool opensForReading(const std::string& path)
{
    return UniqueFd(openRetrying(path, O_RDONLY | O_NONBLOCK | O_NOCTTY)).get() >= 0;
}

bool isWritable(const std::string& path)
{
    return accessible(path, W_OK);
}

std::string errorText(int error)
{
    return std::generic_category().message(error);
}

}
