#include "driver/server/packet.h"

#include <errno.h>
#include <poll.h>
#include <sys/socket.h>

#include <cstring>

namespace vossel {

namespace {

constexpr std::size_t mostDescriptors = 8;

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

// An empty packet reads like the end of the connection; only the socket can tell them apart.
bool hasHungUp(int socket)
{
    pollfd query = {};
    query.fd = socket;
    query.events = POLLRDHUP;
    return ::poll(&query, 1, 0) > 0 && (query.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
}

}

Packet receivePacket(int socket)
{
    Packet packet;
    packet.bytes.resize(maxPacketSize);
    iovec part = {packet.bytes.data(), packet.bytes.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(mostDescriptors * sizeof(int))];
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;

    ssize_t size = -1;
    do {
        size = ::recvmsg(socket, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    } while (size < 0 && errno == EINTR);
    if (size < 0) {
        packet.state = errno == EAGAIN ? Packet::State::Nothing : Packet::State::End;
        return packet;
    }
    takeDescriptors(message, packet.descriptors);
    packet.bytes.resize(static_cast<std::size_t>(size));
    if ((message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0)
        packet.state = Packet::State::Malformed;
    else if (size == 0 && hasHungUp(socket))
        packet.state = Packet::State::End;
    else
        packet.state = Packet::State::Whole;
    return packet;
}

Sent sendPacket(int socket, std::span<const std::byte> bytes)
{
    ssize_t size = -1;
    do {
        size = ::send(socket, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    } while (size < 0 && errno == EINTR);
    if (size >= 0)
        return Sent::Yes;
    return errno == EAGAIN || errno == ENOBUFS || errno == ENOMEM ? Sent::Full : Sent::Gone;
}

}
