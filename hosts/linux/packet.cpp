#include "hosts/linux/packet.h"

#include <errno.h>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstring>

namespace vossel {

namespace {

constexpr std::size_t maxDescriptors = 8;

void takeDescriptors(msghdr& message, std::vector<UniqueFd>& descriptors)
{
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part; part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS)
            continue;
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int fd = -1;
            std::memcpy(&fd, CMSG_DATA(part) + i * sizeof fd, sizeof fd);
            descriptors.emplace_back(fd);
        }
    }
}

// An empty packet reads like the end. Only behind the end nothing is queued, and only there the
// other side has stopped sending.
bool isAtEnd(int socket)
{
    pollfd query = {socket, POLLRDHUP, 0};
    int queued = 0;
    return ::poll(&query, 1, 0) > 0 && ::ioctl(socket, SIOCINQ, &queued) == 0 && queued == 0;
}

}

Packet receivePacket(int socket)
{
    Packet packet;
    packet.bytes.resize(maxPacketSize);
    iovec part = {packet.bytes.data(), packet.bytes.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(maxDescriptors * sizeof(int))];
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;

    ssize_t size = -1;
    do {
        size = ::recvmsg(socket, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    } while (size < 0 && errno == EINTR);
    packet.bytes.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    if (size < 0) {
        packet.error = errno == EAGAIN ? 0 : errno;
        packet.state = errno == EAGAIN ? Packet::State::Nothing : Packet::State::End;
        return packet;
    }
    takeDescriptors(message, packet.descriptors);
    if ((message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0)
        packet.state = Packet::State::Malformed;
    else if (size == 0 && isAtEnd(socket))
        packet.state = Packet::State::End;
    else
        packet.state = Packet::State::Whole;
    return packet;
}

Sent sendPacket(int socket, Pieces pieces, int descriptor)
{
    std::vector<iovec> parts;
    std::size_t total = 0;
    for (const std::span<const std::byte> piece : pieces) {
        // The kernel only reads what is sent; the structure serves both ways.
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast)
        parts.push_back({const_cast<std::byte*>(piece.data()), piece.size()});
        total += piece.size();
    }
    msghdr message = {};
    message.msg_iov = parts.data();
    message.msg_iovlen = parts.size();
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    if (descriptor >= 0) {
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        cmsghdr* header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    }
    ssize_t size = -1;
    do {
        size = ::sendmsg(socket, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
    } while (size < 0 && errno == EINTR);
    if (size >= 0)
        return static_cast<std::size_t>(size) == total ? Sent::Yes : Sent::Gone;
    return errno == EAGAIN || errno == ENOBUFS || errno == ENOMEM ? Sent::Full : Sent::Gone;
}

}
