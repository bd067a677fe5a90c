#pragma once

#include "hosts/linux/driver_connection.h"

#include <string>

namespace vossel {

// Finds the driver's socket file and connects to it; owns no connection. Any thread.
class LinuxDriverService final : public DriverService {
public:
    explicit LinuxDriverService(
        std::string socketPath, Clock::Duration replyTimeout = LinuxDriverConnection::maxReplyTime);

    [[nodiscard]] Match match() override;
    // Only a driver of root's, or of this user's own for a trial, is talked to: another user's
    // could put questions in the driver's name.
    [[nodiscard]] std::shared_ptr<DriverConnection> open() override;

private:
    [[nodiscard]] bool trusted(int socket) const;

    std::string path_;
    Clock::Duration replyTimeout_;
};

}
