#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace vossel {

// What a driver call returns: 0 success, everything else the driver's own code.
using DriverStatus = std::uint32_t;

inline constexpr DriverStatus driverSuccess = 0;
// The agent's own failure: no driver, no port, or no answer within 5 seconds.
inline constexpr DriverStatus driverUnreachable = 0x80000008;

using PortName = std::uint32_t; // 0 is no port

// One open connection to the driver. `call` and `setNotificationPort` are made by one thread at a
// time (the driver link's lock sees to it); `receive` by the driver-loop thread; `close` by any.
class DriverConnection {
public:
    virtual ~DriverConnection() = default;

    // Calls a method and waits at most 5 seconds. At most output.size() bytes are stored and
    // `outputSize` is set to how many came. driverUnreachable when the connection is gone, does not
    // answer in time or answers with something that is no reply; it is closed then.
    [[nodiscard]] virtual DriverStatus call(std::uint32_t selector,
        std::span<const std::byte> input, std::span<std::byte> output, std::size_t& outputSize)
        = 0;

    // Makes the port on which notifications will arrive; 0 when the system has none to give.
    [[nodiscard]] virtual PortName createNotificationPort() = 0;
    // Has the driver send its notifications to `port`, from now on and only there.
    [[nodiscard]] virtual DriverStatus setNotificationPort(PortName port) = 0;

    // Waits for the next notification, a whole message of at most a packet's size. False
    // when the connection has ended.
    [[nodiscard]] virtual bool receive(std::vector<std::byte>& message) = 0;

    // Ends the connection: pending and later calls fail, `receive` returns false.
    virtual void close() = 0;
};

class DriverService {
public:
    enum class Match { Found, None, Failed };

    virtual ~DriverService() = default;

    [[nodiscard]] virtual Match match() = 0;
    // Null when the service does not let itself be opened.
    [[nodiscard]] virtual std::shared_ptr<DriverConnection> open() = 0;
};

}
