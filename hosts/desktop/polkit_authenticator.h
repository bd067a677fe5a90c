#pragma once

#include "hosts/desktop/bus.h"
#include "platform/authenticator.h"

#include <chrono>
#include <functional>

namespace vossel {

// Administrators by polkit, fingers by the system's fingerprint service. On the main thread the
// event loop goes on while the user is asked, so that a prompt whose time is over goes away under
// the dialog; a call returns false when the program is asked to quit meanwhile.
class PolkitAuthenticator final : public Authenticator {
public:
    static constexpr std::chrono::minutes dialogBound{10};
    static constexpr std::chrono::seconds fingerBound{60};

    // `userIsAdministrator`: a finger proves only that it is this user's; it is asked for where
    // that user is an administrator.
    explicit PolkitAuthenticator(std::function<bool()> userIsAdministrator)
        : userIsAdministrator_(std::move(userIsAdministrator))
    {
    }

    [[nodiscard]] bool canEvaluateFingerprint() override;
    // The service shows no reason of ours.
    [[nodiscard]] bool evaluateFingerprint(std::string_view reason) override;
    // The action "org.vossel.authenticate", which packaging/org.vossel.policy describes to polkit.
    // A dialog still open after 10 minutes counts as cancelled.
    [[nodiscard]] bool obtainAdministratorRight() override;

private:
    const std::function<bool()> userIsAdministrator_;
    SystemBus bus_;
};

}
