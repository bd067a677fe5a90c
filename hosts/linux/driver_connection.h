#pragma once

#include "foundation/files.h"
#include "foundation/mutex.h"
#include "platform/clock.h"
#include "platform/driver_service.h"

#include <atomic>

namespace vossel {

// Owns one packet socket to the driver and the receiving end of the notification port; must not
// know what calls and notifications mean. Neither lock is held while anybody else's code runs.
// The descriptors themselves are closed by the destructor only, so none is reused under a waiter;
// close() shuts them down instead.
class LinuxDriverConnection final : public DriverConnection {
public:
    static constexpr Clock::Duration maxReplyTime = std::chrono::seconds(5);

    // Null when the system has no descriptor left. `socket` is a connected SOCK_SEQPACKET socket.
    [[nodiscard]] static std::shared_ptr<LinuxDriverConnection> create(
        UniqueFd socket, Clock::Duration replyTimeout = maxReplyTime);
    LinuxDriverConnection(UniqueFd socket, UniqueFd wake, Clock::Duration replyTimeout);

    [[nodiscard]] DriverStatus call(std::uint32_t selector, std::span<const std::byte> input,
        std::span<std::byte> output, std::size_t& outputSize) override;
    [[nodiscard]] PortName createNotificationPort() override;
    // A fresh pair of sockets each time; what still waits on the pair before is dropped.
    [[nodiscard]] DriverStatus setNotificationPort(PortName port) override;
    // Messages that are there already are delivered before the connection's end is. A driver that
    // closes the port ends the connection, unless it was asked to release the port.
    [[nodiscard]] bool receive(std::vector<std::byte>& message) override;
    void close() override;

private:
    struct Exchange;
    enum class Taken { Message, Nothing, End };

    [[nodiscard]] DriverStatus exchangeLocked(Exchange& exchange) VOSSEL_REQUIRES(callLock_);
    [[nodiscard]] bool sendLocked(const Exchange& exchange, Clock::Instant deadline)
        VOSSEL_REQUIRES(callLock_);
    [[nodiscard]] bool receiveReplyLocked(Exchange& exchange, Clock::Instant deadline)
        VOSSEL_REQUIRES(callLock_);
    [[nodiscard]] bool waitFor(short events, Clock::Instant deadline) const;
    void beginPortChange() VOSSEL_REQUIRES(callLock_);
    [[nodiscard]] bool isBeingReplaced(const std::shared_ptr<UniqueFd>& port);
    void endPortChange(bool changed, std::shared_ptr<UniqueFd> replacement)
        VOSSEL_REQUIRES(callLock_);
    [[nodiscard]] static Taken take(int port, std::vector<std::byte>& message);

    const UniqueFd socket_;
    const UniqueFd wake_; // eventfd: the port has changed, or the connection was closed
    const Clock::Duration replyTimeout_;
    std::atomic<bool> closed_ = false;

    // Held for one exchange at a time, so that each reply is paired with its call.
    Mutex callLock_ VOSSEL_ACQUIRED_BEFORE(portLock_);
    // Says which end notifications are received on; never held while waiting.
    Mutex portLock_;
    PortName portName_ VOSSEL_GUARDED_BY(portLock_) = 0;
    std::shared_ptr<UniqueFd> port_ VOSSEL_GUARDED_BY(portLock_); // shared with a waiting receive
    // The driver has been asked to drop the port that it has, so that its end says nothing about
    // the connection.
    bool portChanging_ VOSSEL_GUARDED_BY(portLock_) = false;
};

}
