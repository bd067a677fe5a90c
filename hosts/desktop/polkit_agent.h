#pragma once

#include "hosts/desktop/polkit_helper.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <memory>
#include <optional>
#include <string>

namespace vossel {

class PersonQuestion;

// Asks for passwords in polkit's name, for this process only: an authentication agent on the system
// bus that the Authority calls while it checks an authorization of ours. It decides nothing: polkit
// learns from its own helper who proved themselves. Main thread; served by its event loop, nested
// ones included.
class PolkitAgent final : private QDBusVirtualObject {
public:
    static constexpr const char* systemHelper = "/usr/lib/polkit-1/polkit-agent-helper-1";

    // `question` outlives this.
    PolkitAgent(QDBusConnection bus, PersonQuestion& question, std::string helper = systemHelper);
    ~PolkitAgent() override;

    // Runs the event loop until polkit has answered. False, with a line in the log, when it will
    // not have this agent.
    [[nodiscard]] bool enrol();
    // Ends the agent for good: withdraws a question that stands, ends and awaits the helper, tells
    // polkit that the person cancelled, and unregisters.
    void cancel();

private:
    struct Authentication; // one call of polkit's, which waits for its end

    [[nodiscard]] bool handleMessage(
        const QDBusMessage& message, const QDBusConnection& bus) override;
    [[nodiscard]] QString introspect(const QString&) const override { return {}; }

    void begin(const QDBusMessage& call);
    [[nodiscard]] bool startHelper();
    void relay(const PolkitHelperLine& line);
    void takeAnswer(const std::optional<std::string>& answer);
    void withdraw();
    void helperEnded(PolkitHelper::End end);
    // An empty error says that the person proved themselves.
    void finish(const QString& error = {});

    QDBusConnection bus_;
    PersonQuestion& question_;
    const std::string helper_;
    bool enrolled_ = false;
    QString authority_; // the unique name of polkit's Authority, which alone may call
    std::unique_ptr<Authentication> current_;
    std::shared_ptr<int> asked_; // while a question stands; its answer knows it by this
};

}
