#include "driver/server/driver_socket.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string_view>

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

bool store(sockaddr_un& address, std::string_view path)
{
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return false;
    std::memcpy(address.sun_path, path.data(), path.size());
    return true;
}

// The address of `path`. One holds no long path: then it names the folder by `folder`, which is
// kept open while the address is used.
Result<sockaddr_un> addressOf(const std::filesystem::path& path, UniqueFd& folder)
{
    sockaddr_un address = {};
    if (store(address, path.native()))
        return address;
    folder.reset(::open(path.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder)
        return failure("listen at", path.native(), errno);
    const std::string detour = "/proc/self/fd/" + std::to_string(folder.get()) + '/';
    if (!store(address, detour + path.filename().native()))
        return failure("listen at", path.native(), ENAMETOOLONG);
    return address;
}

// Makes room at `path`, which `address` leads to, or says who is there.
Result<bool> clear(const std::string& path, const sockaddr_un& address)
{
    struct stat file = {};
    if (::lstat(address.sun_path, &file) != 0)
        return true;
    if (!S_ISSOCK(file.st_mode))
        return Failure{"Cannot listen at " + path + ": something else lies there"};
    const UniqueFd probe = packetSocket();
    if (::connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0
        || errno != ECONNREFUSED)
        return Failure{"Cannot listen at " + path + ": another driver answers there"};
    if (::unlink(address.sun_path) != 0)
        return failure("replace", path, errno);
    return true;
}

}

Result<UniqueFd> listenAt(const std::string& path)
{
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    if (error)
        return failure("create the folder of", path, error.value());
    UniqueFd folder;
    const Result<sockaddr_un> found = addressOf(path, folder);
    if (!found)
        return Failure{found.reason()};
    const sockaddr_un& address = *found;
    if (Result<bool> cleared = clear(path, address); !cleared)
        return Failure{cleared.reason()};
    UniqueFd listener = packetSocket();
    if (!listener
        || ::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
        || ::chmod(address.sun_path, 0666) != 0 || ::listen(listener.get(), SOMAXCONN) != 0)
        return failure("listen at", path, errno);
    return listener;
}

}
