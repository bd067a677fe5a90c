#pragma once

#include "driver/server/user_client.h"
#include "wire/driver_messages.h"

namespace vossel {

// What a driver does with the agents' calls once their form, session and key have been found good.
// All are called on the loop's thread, results are CallStatus. An implementation must not own or
// end a connection.
class SessionHandler {
public:
    virtual ~SessionHandler() = default;

    // Whether this peer may switch filtering on and off.
    [[nodiscard]] virtual bool mayControl(const UserClient& client) const = 0;
    virtual std::int32_t startFilter() = 0;
    virtual std::int32_t stopFilter() = 0;
    [[nodiscard]] virtual bool isFiltering() const = 0;
    // The only call that is handed on with a wrong key, so that a replay can show it; such a
    // response decides nothing.
    virtual std::int32_t deliverResponse(
        UserClient& client, const user_prompt_response& response, bool keyMatches)
        = 0;
    // A port was registered, or has room again after a send that found it full.
    virtual void portReady(UserClient& client) = 0;
    // The port was released or replaced, or has vanished: what was sent to it may never be
    // answered.
    virtual void portGone(UserClient& client) = 0;
};

}
