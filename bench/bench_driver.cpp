#include "bench_driver.h"

#include "settings/directories.h"
#include "wire/driver_transport.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace vossel::bench {

namespace {

using Clock = std::chrono::steady_clock;

void require(bool condition, const char* what)
{
    if (condition)
        return;
    std::perror(what);
    std::exit(1);
}

// The descriptor that a packet carries, or -1.
int passedDescriptor(msghdr& packet)
{
    const cmsghdr* control = CMSG_FIRSTHDR(&packet);
    if (!control || control->cmsg_type != SCM_RIGHTS)
        return -1;
    int fd = -1;
    std::memcpy(&fd, CMSG_DATA(control), sizeof fd);
    return fd;
}

}

BenchDriver::BenchDriver(const std::string& prefix)
{
    const std::string path = Directories(prefix).driverSocket();
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    require(path.size() < sizeof address.sun_path, "socket path");
    std::memcpy(address.sun_path, path.c_str(), path.size());
    listener_ = UniqueFd(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    require(
        bind(listener_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "bind");
    require(listen(listener_.get(), 4) == 0, "listen");
}

void BenchDriver::acceptAgent(bool filtering)
{
    filtering_ = filtering;
    port_.reset();
    agent_ = UniqueFd(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    require(static_cast<bool>(agent_), "accept");
    while (!port_)
        serveCall();
}

bool BenchDriver::serveCall()
{
    std::vector<std::byte> buffer(maxPacketSize);
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
    iovec span{buffer.data(), buffer.size()};
    msghdr packet{};
    packet.msg_iov = &span;
    packet.msg_iovlen = 1;
    packet.msg_control = control;
    packet.msg_controllen = sizeof control;
    const ssize_t size = recvmsg(agent_.get(), &packet, MSG_CMSG_CLOEXEC);
    require(size >= static_cast<ssize_t>(sizeof(CallHeader)), "call");
    CallHeader header{};
    std::memcpy(&header, buffer.data(), sizeof header);
    if (header.kind == PACKET_SET_PORT)
        port_.reset(passedDescriptor(packet));

    std::byte reply[sizeof(ReplyHeader) + sessionKeySize] = {};
    const bool opens = header.kind == PACKET_CALL && header.selector == METHOD_OPEN_SESSION;
    if (header.kind == PACKET_CALL && header.selector == METHOD_FILTER_STATUS && !filtering_)
        reply[0] = std::byte{1};
    const std::size_t replySize = opens ? sizeof reply : sizeof(ReplyHeader);
    require(::send(agent_.get(), reply, replySize, MSG_NOSIGNAL) > 0, "reply");
    return header.kind == PACKET_CALL && header.selector == METHOD_DELIVER_RESPONSE;
}

std::chrono::nanoseconds BenchDriver::exchange(const policy_query_message& message)
{
    const auto start = Clock::now();
    send(message);
    while (!serveCall()) { }
    return Clock::now() - start;
}

void BenchDriver::send(const policy_query_message& message)
{
    require(::send(port_.get(), &message, sizeof message, MSG_NOSIGNAL) > 0, "query");
}

std::size_t BenchDriver::flood(policy_query_message message, std::size_t count)
{
    std::size_t sent = 0;
    std::size_t answered = 0;
    while (answered < count) {
        pollfd ready[] = {{agent_.get(), POLLIN, 0},
            {port_.get(), static_cast<short>(sent < count ? POLLOUT : 0), 0}};
        if (poll(ready, 2, 10'000) <= 0)
            break;
        if (ready[1].revents & POLLOUT) {
            message.policy_query_.security_token = static_cast<std::uint32_t>(sent);
            if (::send(port_.get(), &message, sizeof message, MSG_DONTWAIT | MSG_NOSIGNAL) > 0)
                ++sent;
        } else if (ready[0].revents) {
            answered += serveCall() ? 1 : 0;
        }
    }
    return answered;
}

policy_query_message exampleQuery()
{
    policy_query_message message{};
    message.type = MSG_POLICY_QUERY;
    policy_query& query = message.policy_query_;
    query.pid = getpid();
    query.ppid = getppid();
    query.operation = OPERATION_READ;
    storeText(query.path, "/Users/ann/Library/Application Support/Notes/db/data.sqlite");
    storeText(query.process_name, "/usr/bin/editor");
    storeText(query.parent_name, "/usr/bin/bash");
    return message;
}

std::chrono::nanoseconds median(std::vector<std::chrono::nanoseconds>& times)
{
    std::ranges::sort(times);
    return times[times.size() / 2];
}

}
