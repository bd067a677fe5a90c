#include "hosts/linux/packet_socket.h"

#include "foundation/path_text.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string_view>

namespace vossel {

namespace {

Failure failure(const char* what, const std::string& path, int error)
{
    return Failure{std::string("Cannot ") + what + " " + path + ": " + errorText(error)};
}

// Where a socket lies, as the kernel takes it. An address holds no long path: then it names the
// folder by a descriptor, which this keeps open.
class SocketAddress {
public:
    // 0, or errno's word why there is none.
    int set(const std::string& path)
    {
        if (path.find('\0') != std::string::npos)
            return EINVAL;
        if (store(path))
            return 0;
        const std::string parent(parentPath(path));
        folder_.reset(::open(parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!folder_)
            return errno;
        const std::string detour = "/proc/self/fd/" + std::to_string(folder_.get()) + '/';
        return store(detour + std::string(lastPathComponent(path))) ? 0 : ENAMETOOLONG;
    }
    [[nodiscard]] const char* path() const { return address_.sun_path; }
    [[nodiscard]] const sockaddr* get() const
    {
        return reinterpret_cast<const sockaddr*>(&address_);
    }
    static constexpr socklen_t size = sizeof(sockaddr_un);

private:
    bool store(std::string_view path)
    {
        address_.sun_family = AF_UNIX;
        if (path.size() >= sizeof address_.sun_path)
            return false;
        std::memcpy(address_.sun_path, path.data(), path.size());
        return true;
    }

    sockaddr_un address_ = {};
    UniqueFd folder_;
};

UniqueFd packetSocket(int flags = 0)
{
    return UniqueFd(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | flags, 0));
}

// Makes room at `path`, which `address` leads to, or says who is there.
Result<bool> clear(const std::string& path, const SocketAddress& address)
{
    struct stat file = {};
    if (::lstat(address.path(), &file) != 0)
        return true;
    if (!S_ISSOCK(file.st_mode))
        return Failure{"Cannot listen at " + path + ": something else lies there"};
    const UniqueFd probe = packetSocket(SOCK_NONBLOCK);
    if (::connect(probe.get(), address.get(), SocketAddress::size) == 0 || errno != ECONNREFUSED)
        return Failure{"Cannot listen at " + path + ": another driver answers there"};
    if (::unlink(address.path()) != 0)
        return failure("replace", path, errno);
    return true;
}

void boundSending(int socket, std::chrono::milliseconds bound)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(bound);
    const auto rest = std::chrono::microseconds(bound - seconds);
    timeval wait = {};
    wait.tv_sec = static_cast<time_t>(seconds.count());
    wait.tv_usec = static_cast<suseconds_t>(rest.count());
    ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &wait, sizeof wait);
}

}

Result<UniqueFd> listenAt(const std::string& path)
{
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    if (error)
        return failure("create the folder of", path, error.value());
    SocketAddress address;
    if (const int refused = address.set(path))
        return failure("listen at", path, refused);
    if (Result<bool> cleared = clear(path, address); !cleared)
        return Failure{cleared.reason()};
    UniqueFd listener = packetSocket(SOCK_NONBLOCK);
    if (!listener || ::bind(listener.get(), address.get(), SocketAddress::size) != 0
        || ::chmod(address.path(), 0666) != 0 || ::listen(listener.get(), SOMAXCONN) != 0)
        return failure("listen at", path, errno);
    return listener;
}

UniqueFd acceptConnection(int listener)
{
    return UniqueFd(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
}

Result<UniqueFd> connectTo(const std::string& path, std::chrono::milliseconds bound)
{
    SocketAddress address;
    if (const int refused = address.set(path))
        return failure("connect to", path, refused);
    UniqueFd socket = packetSocket();
    if (!socket)
        return failure("connect to", path, errno);
    boundSending(socket.get(), bound);
    int result = 0;
    do {
        result = ::connect(socket.get(), address.get(), SocketAddress::size);
    } while (result != 0 && errno == EINTR);
    if (result != 0)
        return failure("connect to", path, errno);
    return socket;
}

std::pair<UniqueFd, UniqueFd> socketPair(int type)
{
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends) != 0)
        return {};
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

std::optional<ucred> peerOf(int socket)
{
    ucred peer = {};
    socklen_t size = sizeof peer;
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0)
        return std::nullopt;
    return peer;
}

bool isConnectedPacketSocket(int fd)
{
    const auto option = [fd](int name) {
        int value = -1;
        socklen_t size = sizeof value;
        return ::getsockopt(fd, SOL_SOCKET, name, &value, &size) == 0 ? value : -1;
    };
    sockaddr_storage peer = {};
    socklen_t size = sizeof peer;
    return option(SO_TYPE) == SOCK_SEQPACKET && option(SO_DOMAIN) == AF_UNIX
        && ::getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &size) == 0;
}

}
