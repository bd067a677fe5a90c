#pragma once

#include <memory>
#include <string>

namespace vossel {

class SystemBus;

// Asks logind whether the screen of a session is locked. Copies share one connection. Any thread,
// several at once; a call takes a second at most once the bus is connected, and is answered "not
// locked" where nobody answers.
class LogindLock {
public:
    LogindLock();

    // `session` is a session's identifier.
    [[nodiscard]] bool operator()(const std::string& session) const;

private:
    std::shared_ptr<SystemBus> bus_;
};

}
