#include "hosts/linux/driver_service.h"

#include "foundation/log.h"
#include "foundation/path_text.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

namespace vossel {

namespace {

constexpr std::string_view logName = "driver socket %@: %@";

// Stores `path` where it fits, with its NUL.
bool storePath(sockaddr_un& address, std::string_view path)
{
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path || path.find('\0') != std::string_view::npos)
        return false;
    std::memcpy(address.sun_path, path.data(), path.size());
    return true;
}

// An address holds no long path: then the folder is named by a descriptor, kept in `folder` until
// the address has been used.
bool addressOf(const std::string& path, sockaddr_un& address, UniqueFd& folder)
{
    if (storePath(address, path))
        return true;
    folder.reset(::open(std::string(parentPath(path)).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        logText(logName, path, errorText(errno));
        return false;
    }
    std::string detour = "/proc/self/fd/" + std::to_string(folder.get()) + "/";
    if (storePath(address, detour.append(lastPathComponent(path))))
        return true;
    logText(logName, path, "the name is too long for a socket");
    return false;
}

// A driver whose queue of callers is full makes a connect wait for as long as this.
void boundConnect(int socket, Clock::Duration bound)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(bound);
    const auto rest = std::chrono::microseconds(bound - seconds);
    timeval wait = {};
    wait.tv_sec = static_cast<time_t>(seconds.count());
    wait.tv_usec = static_cast<suseconds_t>(rest.count());
    ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &wait, sizeof wait);
}

}

LinuxDriverService::LinuxDriverService(std::string socketPath, Clock::Duration replyTimeout)
    : path_(std::move(socketPath))
    , replyTimeout_(replyTimeout)
{
}

DriverService::Match LinuxDriverService::match()
{
    struct stat file = {};
    if (::stat(path_.c_str(), &file) == 0) {
        if (S_ISSOCK(file.st_mode))
            return Match::Found;
        logText(logName, path_, "not a socket");
        return Match::Failed;
    }
    if (errno == ENOENT)
        return Match::None;
    logText(logName, path_, errorText(errno));
    return Match::Failed;
}

std::shared_ptr<DriverConnection> LinuxDriverService::open()
{
    sockaddr_un address = {};
    UniqueFd folder;
    if (!addressOf(path_, address, folder))
        return nullptr;
    UniqueFd socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    if (!socket) {
        logText(logName, path_, errorText(errno));
        return nullptr;
    }
    boundConnect(socket.get(), replyTimeout_);
    int result = 0;
    do {
        result
            = ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    } while (result != 0 && errno == EINTR);
    if (result != 0) {
        logText(logName, path_, errorText(errno));
        return nullptr;
    }
    if (!trusted(socket.get()))
        return nullptr;
    return LinuxDriverConnection::create(std::move(socket), replyTimeout_);
}

bool LinuxDriverService::trusted(int socket) const
{
    ucred peer = {};
    socklen_t size = sizeof peer;
    struct stat file = {};
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0
        || ::stat(path_.c_str(), &file) != 0) {
        logText(logName, path_, errorText(errno));
        return false;
    }
    if ((peer.uid == 0 || peer.uid == ::getuid()) && file.st_uid == peer.uid)
        return true;
    logText("driver socket %@: refused: it belongs to user %@ and user %@ answers there", path_,
        std::to_string(file.st_uid), std::to_string(peer.uid));
    return false;
}

}
