#include "hosts/linux/driver_connection.h"

#include "foundation/log.h"
#include "wire/driver_messages.h"
#include "wire/driver_transport.h"

#include <climits>

#include <linux/sockios.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace vossel {

namespace {

Clock::Instant instant()
{
    return std::chrono::time_point_cast<Clock::Duration>(std::chrono::steady_clock::now());
}

iovec piece(const void* data, std::size_t size)
{
    // The kernel only reads what is sent; the structure serves both ways.
    return {const_cast<void*>(data), size}; // NOLINT(cppcoreguidelines-pro-type-const-cast)
}

}

// One call and its reply.
struct LinuxDriverConnection::Exchange {
    CallHeader header;
    std::span<const std::byte> input;
    int descriptor = -1; // sent along where there is one
    std::span<std::byte> output;
    std::size_t received = 0;
    ReplyHeader reply = {};
};

std::shared_ptr<LinuxDriverConnection> LinuxDriverConnection::create(
    UniqueFd socket, Clock::Duration replyTimeout)
{
    UniqueFd wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!wake) {
        logText("driver connection: %@", errorText(errno));
        return nullptr;
    }
    return std::make_shared<LinuxDriverConnection>(
        std::move(socket), std::move(wake), replyTimeout);
}

LinuxDriverConnection::LinuxDriverConnection(
    UniqueFd socket, UniqueFd wake, Clock::Duration replyTimeout)
    : socket_(std::move(socket))
    , wake_(std::move(wake))
    , replyTimeout_(replyTimeout)
{
}

DriverStatus LinuxDriverConnection::call(std::uint32_t selector, std::span<const std::byte> input,
    std::span<std::byte> output, std::size_t& outputSize)
{
    // A driver that releases the port may close its end before it answers.
    const bool releases = selector == METHOD_RELEASE_PORT;
    Exchange exchange{{PACKET_CALL, selector}, input, -1, output};
    const MutexLock guard(callLock_);
    if (releases)
        beginPortChange();
    const DriverStatus status = exchangeLocked(exchange);
    if (releases)
        endPortChange(status == driverSuccess, nullptr);
    outputSize = exchange.received;
    return status;
}

PortName LinuxDriverConnection::createNotificationPort()
{
    const MutexLock guard(portLock_);
    return ++portName_;
}

DriverStatus LinuxDriverConnection::setNotificationPort(PortName port)
{
    const MutexLock guard(callLock_);
    {
        const MutexLock portGuard(portLock_);
        if (port == 0 || port != portName_)
            return driverUnreachable;
    }
    std::array<int, 2> ends = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        logText("notification port: %@", errorText(errno));
        return driverUnreachable;
    }
    auto ours = std::make_shared<UniqueFd>(ends[0]);
    UniqueFd theirs(ends[1]);
    beginPortChange();
    Exchange exchange{{PACKET_SET_PORT, 0}, {}, theirs.get(), {}};
    const DriverStatus status = exchangeLocked(exchange);
    endPortChange(status == driverSuccess, std::move(ours));
    return status;
}

void LinuxDriverConnection::beginPortChange()
{
    const MutexLock guard(portLock_);
    portChanging_ = true;
}

void LinuxDriverConnection::endPortChange(bool changed, std::shared_ptr<UniqueFd> replacement)
{
    {
        const MutexLock guard(portLock_);
        portChanging_ = false;
        // The end before is closed after the lock, or by the receive that still waits on it.
        if (changed)
            port_.swap(replacement);
    }
    const std::uint64_t once = 1;
    // Fails only when the counter is full, and then it is readable anyhow.
    static_cast<void>(::write(wake_.get(), &once, sizeof once));
}

DriverStatus LinuxDriverConnection::exchangeLocked(Exchange& exchange)
{
    if (closed_)
        return driverUnreachable;
    if (sizeof(CallHeader) + exchange.input.size() > maxPacketSize) {
        logText("driver call: the input is larger than a packet");
        return driverUnreachable;
    }
    const Clock::Instant deadline = instant() + replyTimeout_;
    if (sendLocked(exchange, deadline) && receiveReplyLocked(exchange, deadline))
        return static_cast<DriverStatus>(exchange.reply.status);
    // A reply that came later would pass for the next call's.
    exchange.received = 0;
    close();
    return driverUnreachable;
}

bool LinuxDriverConnection::sendLocked(const Exchange& exchange, Clock::Instant deadline)
{
    std::byte unasked = {};
    if (::recv(socket_.get(), &unasked, 1, MSG_DONTWAIT | MSG_PEEK) >= 0) {
        logText("driver connection: ended, or a reply that nobody asked for");
        return false;
    }
    std::array<iovec, 2> pieces = {piece(&exchange.header, sizeof exchange.header),
        piece(exchange.input.data(), exchange.input.size())};
    msghdr message = {};
    message.msg_iov = pieces.data();
    message.msg_iovlen = pieces.size();
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control = {};
    if (exchange.descriptor >= 0) {
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        cmsghdr* header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(header), &exchange.descriptor, sizeof(int));
    }
    while (::sendmsg(socket_.get(), &message, MSG_NOSIGNAL | MSG_DONTWAIT) < 0) {
        const int error = errno;
        if (error == EINTR || (error == EAGAIN && waitFor(POLLOUT, deadline)))
            continue;
        logText("driver call: not sent: %@", errorText(error));
        return false;
    }
    return true;
}

bool LinuxDriverConnection::receiveReplyLocked(Exchange& exchange, Clock::Instant deadline)
{
    std::array<iovec, 2> pieces = {piece(&exchange.reply, sizeof exchange.reply),
        piece(exchange.output.data(), exchange.output.size())};
    msghdr message = {};
    message.msg_iov = pieces.data();
    message.msg_iovlen = pieces.size();
    for (;;) {
        const auto size = ::recvmsg(socket_.get(), &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0 && errno == EAGAIN) {
            if (waitFor(POLLIN, deadline))
                continue;
            logText("driver call: no reply in time");
            return false;
        }
        if (size < 0) {
            logText("driver call: %@", errorText(errno));
            return false;
        }
        const auto length = static_cast<std::size_t>(size);
        if (length < sizeof(ReplyHeader) || (message.msg_flags & MSG_TRUNC) != 0) {
            logText(length == 0 ? "driver call: the driver has gone"
                                : "driver call: the reply has a wrong size");
            return false;
        }
        exchange.received = length - sizeof(ReplyHeader);
        return true;
    }
}

bool LinuxDriverConnection::waitFor(short events, Clock::Instant deadline) const
{
    for (;;) {
        const auto left = deadline - instant();
        if (closed_ || left <= Clock::Duration::zero())
            return false;
        pollfd waiting = {socket_.get(), events, 0};
        const auto bound = std::min<Clock::Duration::rep>(left.count(), INT_MAX);
        const int count = ::poll(&waiting, 1, static_cast<int>(bound));
        if (count > 0)
            return true;
        if (count < 0 && errno != EINTR)
            return false;
    }
}

LinuxDriverConnection::Taken LinuxDriverConnection::take(int port, std::vector<std::byte>& message)
{
    for (;;) {
        message.resize(maxPacketSize);
        const auto size
            = ::recv(port, message.data(), message.size(), MSG_DONTWAIT | MSG_TRUNC | MSG_NOSIGNAL);
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0)
            return errno == EAGAIN ? Taken::Nothing : Taken::End;
        const auto length = static_cast<std::size_t>(size);
        if (length > maxPacketSize) {
            logText("notification port: dropped a message of %@ bytes", std::to_string(length));
            continue;
        }
        if (length > 0) {
            message.resize(length);
            return Taken::Message;
        }
        // An empty message looks like the end; only the end has nothing behind it, and stays.
        pollfd state = {port, POLLIN | POLLRDHUP, 0};
        int queued = 0;
        if (::poll(&state, 1, 0) > 0 && (state.revents & (POLLRDHUP | POLLHUP)) != 0
            && ::ioctl(port, SIOCINQ, &queued) == 0 && queued == 0)
            return Taken::End;
    }
}

// To be asked after the port's end was seen: the change may have begun, or even been completed, in
// between.
bool LinuxDriverConnection::isBeingReplaced(const std::shared_ptr<UniqueFd>& port)
{
    const MutexLock guard(portLock_);
    return portChanging_ || port_ != port;
}

bool LinuxDriverConnection::receive(std::vector<std::byte>& message)
{
    bool hungUp = false;
    while (!closed_) {
        std::shared_ptr<UniqueFd> port;
        {
            const MutexLock guard(portLock_);
            port = port_;
        }
        const Taken taken = port ? take(port->get(), message) : Taken::Nothing;
        if (taken == Taken::Message)
            return true;
        // Asked after the port: all that the driver sent before it hung up has been taken by now.
        if (hungUp || (taken == Taken::End && !isBeingReplaced(port)))
            break;
        const int watched = port && taken != Taken::End ? port->get() : -1;
        std::array<pollfd, 3> waiting = {{{watched, POLLIN | POLLRDHUP, 0},
            {socket_.get(), POLLRDHUP, 0}, {wake_.get(), POLLIN, 0}}};
        if (::poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR)
            break;
        hungUp = waiting[1].revents != 0;
        std::uint64_t count = 0;
        // Once closed it stays readable, for every thread that waits.
        if (waiting[2].revents != 0 && !closed_)
            static_cast<void>(::read(wake_.get(), &count, sizeof count));
    }
    message.clear();
    return false;
}

void LinuxDriverConnection::close()
{
    closed_ = true;
    ::shutdown(socket_.get(), SHUT_RDWR);
    const std::uint64_t once = 1;
    static_cast<void>(::write(wake_.get(), &once, sizeof once));
    std::shared_ptr<UniqueFd> port;
    {
        const MutexLock guard(portLock_);
        port = port_;
    }
    if (port)
        ::shutdown(port->get(), SHUT_RDWR);
}

}
