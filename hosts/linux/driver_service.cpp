#include "hosts/linux/driver_service.h"

#include "foundation/log.h"
#include "hosts/linux/packet_socket.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <utility>

namespace vossel {

namespace {

constexpr std::string_view logName = "driver socket %@: %@";

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
    Result<UniqueFd> socket = connectTo(path_, replyTimeout_);
    if (!socket) {
        logText("driver socket: %@", socket.reason());
        return nullptr;
    }
    if (!trusted(socket->get()))
        return nullptr;
    return LinuxDriverConnection::create(*std::move(socket), replyTimeout_);
}

bool LinuxDriverService::trusted(int socket) const
{
    const std::optional<ucred> peer = peerOf(socket);
    struct stat file = {};
    if (!peer || ::stat(path_.c_str(), &file) != 0) {
        logText(logName, path_, errorText(errno));
        return false;
    }
    if ((peer->uid == 0 || peer->uid == ::getuid()) && file.st_uid == peer->uid)
        return true;
    logText("driver socket %@: refused: it belongs to user %@ and user %@ answers there", path_,
        std::to_string(file.st_uid), std::to_string(peer->uid));
    return false;
}

}
