#pragma once

#include "platform/session.h"

#include <functional>
#include <string>

namespace vossel {

// The session that this process belongs to, by what logind has written down; a process outside of
// every session (a service of the user's own) belongs to the user's graphical one. Any thread.
class LinuxSession final : public Session {
public:
    // Whether the screen of a session, named by its identifier, is locked: logind says so on the
    // bus only. Called from any thread, several at once.
    using LockQuestion = std::function<bool(const std::string& session)>;

    // Without a question no screen counts as locked.
    explicit LinuxSession(LockQuestion isLocked = {});

    // Empty without logind, and for a process whose user has no session.
    [[nodiscard]] std::optional<SessionState> current() const override;

private:
    LockQuestion isLocked_;
};

}
