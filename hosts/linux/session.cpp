#include "hosts/linux/session.h"

#include "hosts/linux/c_text.h"

#include <systemd/sd-login.h>

#include <unistd.h>

#include <utility>

namespace vossel {

namespace {

std::optional<std::string> ownSession()
{
    CText session;
    if (::sd_pid_get_session(0, session.into()) >= 0
        || ::sd_uid_get_display(::getuid(), session.into()) >= 0)
        return std::string(session.text());
    return std::nullopt;
}

}

LinuxSession::LinuxSession(LockQuestion isLocked)
    : isLocked_(std::move(isLocked))
{
}

std::optional<SessionState> LinuxSession::current() const
{
    const auto session = ownSession();
    if (!session)
        return std::nullopt;
    CText state;
    CText kind;
    // A session that ended in between is none.
    if (::sd_session_get_state(session->c_str(), state.into()) < 0
        || ::sd_session_get_class(session->c_str(), kind.into()) < 0)
        return std::nullopt;
    const bool open = state.text() == "active" || state.text() == "online";
    return SessionState{.screenLocked = isLocked_ && isLocked_(*session),
        .loginDone = open && kind.text() == "user"};
}

}
