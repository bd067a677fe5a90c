#pragma once

#include <optional>

namespace vossel {

// What the system says of the current graphical session.
struct SessionState {
    bool screenLocked = false;
    bool loginDone = false;

    bool operator==(const SessionState&) const = default;
};

class Session {
public:
    virtual ~Session() = default;

    // Asked afresh at each call, from any thread. Empty when the system knows of no such session.
    [[nodiscard]] virtual std::optional<SessionState> current() const = 0;
};

}
