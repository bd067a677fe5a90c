#include "driver/driver_socket.h"

#include <errno.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

namespace vossel {

namespace {

UniqueFd packetSocket()
{
    return UniqueFd(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

Failure failure(const std::string& what, const std::string& path, int error)
{
    return Failure{"Cannot " + what + " " + path + ": " + errorText(error)};
}

// Makes room at `path`, or says who is there.
Result<bool> clear(const std::string& path, const sockaddr_un& address)
{
    struct stat file = {};
    if (::lstat(path.c_str(), &file) != 0)
        return true;
    if (!S_ISSOCK(file.st_mode))
        return Failure{"Cannot listen at " + path + ": something else lies there"};
    const UniqueFd probe = packetSocket();
    if (::connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0
        || errno != ECONNREFUSED)
        return Failure{"Cannot listen at " + path + ": another driver answers there"};
    if (::unlink(path.c_str()) != 0)
        return failure("replace", path, errno);
    return true;
}

}

Result<UniqueFd> listenAt(const std::string& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return failure("listen at", path, ENAMETOOLONG);
    std::memcpy(address.sun_path, path.data(), path.size());

    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    if (error)
        return failure("create the folder of", path, error.value());
    if (Result<bool> cleared = clear(path, address); !cleared)
        return Failure{cleared.reason()};
    UniqueFd listener = packetSocket();
    if (!listener
        || ::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
        || ::chmod(path.c_str(), 0666) != 0 || ::listen(listener.get(), SOMAXCONN) != 0)
        return failure("listen at", path, errno);
    return listener;
}

}
