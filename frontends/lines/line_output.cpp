#include "frontends/lines/line_output.h"

#include "foundation/files.h"
#include "foundation/log.h"

#include <climits>

#include <errno.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

namespace vossel {

namespace {

constexpr int patienceMilliseconds = 5000;

// A pipe that polls writable takes this much without blocking; a socket must be told not to.
ssize_t writeSome(int fd, std::string_view bytes)
{
    const std::size_t count = std::min<std::size_t>(bytes.size(), PIPE_BUF);
    const ssize_t sent = ::send(fd, bytes.data(), count, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent >= 0 || errno != ENOTSOCK)
        return sent;
    return ::write(fd, bytes.data(), count);
}

bool writeAll(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        pollfd ready{fd, POLLOUT, 0};
        const int count = ::poll(&ready, 1, patienceMilliseconds);
        if (count < 0 && errno == EINTR)
            continue;
        if (count == 0)
            errno = ETIMEDOUT;
        if (count <= 0)
            return false;
        const ssize_t written = writeSome(fd, bytes);
        if (written < 0 && errno != EINTR && errno != EAGAIN)
            return false;
        if (written > 0)
            bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}

void LineOutput::write(const Json& event)
{
    // Texts were made valid where they were put in; what is left is replaced, never thrown on.
    const std::string line = event.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
    {
        const MutexLock lock(mutex_);
        if (broken_ || writer_(line))
            return;
        broken_ = true;
        logText("nobody reads the events any more: %@", errorText(errno));
    }
    if (whenBroken_)
        whenBroken_();
}

bool LineOutput::isBroken() const
{
    const MutexLock lock(mutex_);
    return broken_;
}

LineOutput::Writer descriptorWriter(int fd)
{
    return [fd](std::string_view line) { return writeAll(fd, line); };
}

}
