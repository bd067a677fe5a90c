#include "hosts/linux/driver_connection.h"

#include "foundation/log.h"
#include "hosts/linux/packet.h"
#include "hosts/linux/packet_socket.h"
#include "wire/driver_messages.h"

#include <climits>

#include <poll.h>
#include <sys/eventfd.h>
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
    auto [kept, theirs] = socketPair();
    if (!kept) {
        logText("notification port: %@", errorText(errno));
        return driverUnreachable;
    }
    auto ours = std::make_shared<UniqueFd>(std::move(kept));
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
    const auto header = std::as_bytes(std::span(&exchange.header, 1));
    for (;;) {
        const Sent sent = sendPacket(socket_.get(), {header, exchange.input}, exchange.descriptor);
        if (sent == Sent::Yes)
            return true;
        const int error = errno;
        if (error == EAGAIN && waitFor(POLLOUT, deadline))
            continue;
        logText("driver call: not sent: %@", errorText(error));
        return false;
    }
}

bool LinuxDriverConnection::receiveReplyLocked(Exchange& exchange, Clock::Instant deadline)
{
    Packet packet = receivePacket(socket_.get());
    while (packet.state == Packet::State::Nothing) {
        if (!waitFor(POLLIN, deadline)) {
            logText("driver call: no reply in time");
            return false;
        }
        packet = receivePacket(socket_.get());
    }
    if (packet.state == Packet::State::End) {
        logText(
            "driver call: %@", packet.error != 0 ? errorText(packet.error) : "the driver has gone");
        return false;
    }
    constexpr std::size_t headerSize = sizeof exchange.reply;
    const std::span<const std::byte> bytes = packet.bytes;
    if (packet.state == Packet::State::Malformed || bytes.size() < headerSize
        || bytes.size() - headerSize > exchange.output.size()) {
        logText("driver call: the reply has a wrong size");
        return false;
    }
    std::memcpy(&exchange.reply, bytes.data(), headerSize);
    const auto output = bytes.subspan(headerSize);
    std::copy(output.begin(), output.end(), exchange.output.begin());
    exchange.received = output.size();
    return true;
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
        Packet packet = receivePacket(port);
        switch (packet.state) {
        case Packet::State::Nothing:
            return Taken::Nothing;
        case Packet::State::End:
            return Taken::End;
        case Packet::State::Malformed:
            logText("notification port: dropped a message that is no packet of a driver's");
            break;
        case Packet::State::Whole:
            if (packet.bytes.empty())
                break; // says nothing
            message = std::move(packet.bytes);
            return Taken::Message;
        }
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
