#pragma once

#include "hosts/desktop/bus.h"
#include "hosts/desktop/polkit_agent.h"
#include "platform/authenticator.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace vossel {

// Administrators by polkit, fingers by the system's fingerprint service. On the main thread the
// event loop goes on while the user is asked, so that a prompt whose time is over goes away under
// the dialog; a call returns false when the program is asked to quit meanwhile. polkit asks through
// whatever shows its dialogs in the session, or through a question of ours.
class PolkitAuthenticator final : public Authenticator {
public:
    static constexpr std::chrono::minutes dialogBound{10};
    static constexpr std::chrono::seconds fingerBound{60};

    // `userIsAdministrator`: a finger proves only that it is this user's; it is asked for where
    // that user is an administrator.
    // `helper` is polkit's own, which a question of ours needs.
    explicit PolkitAuthenticator(
        std::function<bool()> userIsAdministrator, std::string helper = PolkitAgent::systemHelper)
        : userIsAdministrator_(std::move(userIsAdministrator))
        , helper_(std::move(helper))
    {
    }

    // Where passwords are asked for; none leaves it to polkit. It outlives every call that asks.
    void setQuestion(PersonQuestion* question) { question_ = question; }

    [[nodiscard]] bool canEvaluateFingerprint() override;
    // The service shows no reason of ours.
    [[nodiscard]] bool evaluateFingerprint(std::string_view reason) override;
    // The action "org.vossel.authenticate", which packaging/org.vossel.policy describes to polkit.
    // Main thread. A dialog still open after 10 minutes counts as cancelled, as does one that
    // stands when the next call comes.
    [[nodiscard]] bool obtainAdministratorRight() override;
    // Main thread. Ends the question or dialog that stands, if any; whoever waits for it is told
    // no.
    void cancel();

private:
    // One call, on the stack of whoever waits.
    struct Check {
        QDBusConnection bus;
        QString cancellation; // polkit's name for it
        std::optional<PolkitAgent> agent{};
        bool cancelled = false;
    };

    [[nodiscard]] QDBusMessage ask(Check& check);

    const std::function<bool()> userIsAdministrator_;
    const std::string helper_;
    PersonQuestion* question_ = nullptr;
    Check* current_ = nullptr; // the latest, until it is over
    SystemBus bus_;
};

}
