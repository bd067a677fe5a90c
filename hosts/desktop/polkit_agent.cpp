#include "hosts/desktop/polkit_agent.h"

#include "foundation/log.h"
#include "hosts/desktop/bus.h"
#include "hosts/desktop/polkit_authority.h"
#include "hosts/linux/accounts.h"
#include "platform/person_question.h"

#include <QDBusArgument>
#include <QLocale>

#include <unistd.h>

#include <string.h>
#include <utility>
#include <vector>

namespace vossel {

namespace {

using Kind = PolkitHelperLine::Kind;

const QString objectPath = QStringLiteral("/org/vossel/AuthenticationAgent");
const QString interface = QStringLiteral("org.freedesktop.PolicyKit1.AuthenticationAgent");
const QString failedError = QStringLiteral("org.freedesktop.PolicyKit1.Error.Failed");
const QString cancelledError = QStringLiteral("org.freedesktop.PolicyKit1.Error.Cancelled");

// polkit may have to be started first.
constexpr std::chrono::seconds enrolmentBound(10);
constexpr int triesAllowed = 3;

void wipe(std::string& text)
{
    text.resize(text.capacity());
    ::explicit_bzero(text.data(), text.size());
    text.clear();
}

std::vector<PolkitSubject> identitiesOf(const QDBusMessage& call)
{
    std::vector<PolkitSubject> identities;
    const auto array = call.arguments().at(5).value<QDBusArgument>();
    array.beginArray();
    while (!array.atEnd())
        array >> identities.emplace_back();
    array.endArray();
    return identities;
}

// Who is to prove themselves: this process's user where they may, or the first who has an account.
std::optional<std::string> chooseUser(const std::vector<PolkitSubject>& identities)
{
    std::optional<std::string> chosen;
    for (const PolkitSubject& identity : identities) {
        const QVariant id = identity.details.value(QStringLiteral("uid"));
        if (identity.kind != QStringLiteral("unix-user") || id.typeId() != QMetaType::UInt)
            continue;
        auto name = LinuxAccounts::accountName(id.toUInt());
        if (name && id.toUInt() == ::getuid())
            return name;
        if (!chosen)
            chosen = std::move(name);
    }
    return chosen;
}

// PAM's usual "Password:" does not say whose.
std::string questionText(std::string_view text, const std::string& user)
{
    const std::string person = user + " (administrator)";
    const std::size_t end = text.find_last_not_of(" :");
    const auto plain = text.substr(0, end == std::string_view::npos ? 0 : end + 1);
    return plain.empty() || plain == "Password" ? "Password of " + person
                                                : person + ": " + std::string(text);
}

}

struct PolkitAgent::Authentication {
    QDBusMessage call;
    QString cookie;
    std::string user;
    int failures = 0;
    bool answered = false; // to this helper
    std::unique_ptr<PolkitHelper> helper{};
};

PolkitAgent::PolkitAgent(QDBusConnection bus, PersonQuestion& question, std::string helper)
    : bus_(std::move(bus))
    , question_(question)
    , helper_(std::move(helper))
{
}

PolkitAgent::~PolkitAgent()
{
    cancel();
}

bool PolkitAgent::enrol()
{
    if (!bus_.registerVirtualObject(objectPath, this)) {
        logText("no object for polkit: %@", bus_.lastError().message().toStdString());
        return false;
    }
    enrolled_ = true; // from now on, for what is not answered in time may still be done
    const auto reply = callServing(bus_,
        authorityCall(QStringLiteral("RegisterAuthenticationAgent"),
            {QVariant::fromValue(ownProcess()), QLocale::system().name(), objectPath}),
        enrolmentBound);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        logText("polkit does not let us ask: %@", reply.errorMessage().toStdString());
        return false;
    }
    authority_ = reply.service();
    return true;
}

void PolkitAgent::cancel()
{
    finish(cancelledError);
    if (!std::exchange(enrolled_, false))
        return;
    bus_.unregisterObject(objectPath);
    bus_.send(authorityCall(QStringLiteral("UnregisterAuthenticationAgent"),
        {QVariant::fromValue(ownProcess()), objectPath}));
}

bool PolkitAgent::handleMessage(const QDBusMessage& message, const QDBusConnection&)
{
    if (authority_.isEmpty() || message.service() != authority_) {
        bus_.send(message.createErrorReply(QDBusError::AccessDenied, QStringLiteral("Not polkit")));
        return true;
    }
    if (message.interface() != interface)
        return false;
    if (message.member() == QStringLiteral("BeginAuthentication")
        && message.signature() == QStringLiteral("sssa{ss}sa(sa{sv})")) {
        begin(message);
        return true;
    }
    if (message.member() != QStringLiteral("CancelAuthentication")
        || message.signature() != QStringLiteral("s"))
        return false;
    if (current_ && current_->cookie == message.arguments().constFirst().toString())
        finish(cancelledError);
    bus_.send(message.createReply());
    return true;
}

void PolkitAgent::begin(const QDBusMessage& call)
{
    if (current_) {
        bus_.send(call.createErrorReply(failedError, QStringLiteral("Asking already")));
        return;
    }
    const auto user = chooseUser(identitiesOf(call));
    current_ = std::make_unique<Authentication>(
        Authentication{call, call.arguments().at(4).toString(), user.value_or("")});
    if (!user)
        logText("polkit names nobody with an account who could be asked");
    if (!user || !startHelper())
        finish(failedError);
}

bool PolkitAgent::startHelper()
{
    current_->answered = false;
    current_->helper = std::make_unique<PolkitHelper>(
        PolkitHelper::Listener{[this](const PolkitHelperLine& line) { relay(line); },
            [this](PolkitHelper::End end) { helperEnded(end); }});
    return current_->helper->start(helper_, current_->user, current_->cookie.toStdString());
}

void PolkitAgent::relay(const PolkitHelperLine& line)
{
    if (line.kind == Kind::Tell) {
        question_.tell(line.text);
        return;
    }
    withdraw();
    asked_ = std::make_shared<int>();
    question_.ask(questionText(line.text, current_->user), line.kind == Kind::AskShown,
        [this, asked = std::weak_ptr(asked_)](std::optional<std::string>&& answer) {
            if (!asked.expired())
                takeAnswer(answer);
            if (answer)
                wipe(*answer);
        });
}

void PolkitAgent::takeAnswer(const std::optional<std::string>& answer)
{
    asked_.reset();
    current_->answered = true;
    if (answer)
        current_->helper->answer(*answer);
    else
        finish(cancelledError);
}

void PolkitAgent::withdraw()
{
    if (std::exchange(asked_, nullptr))
        question_.withdraw();
}

void PolkitAgent::helperEnded(PolkitHelper::End end)
{
    withdraw();
    if (end == PolkitHelper::End::Success) {
        finish();
    } else if (end == PolkitHelper::End::Broken) {
        logText("polkit's helper ended without saying who proved themselves");
        finish(failedError);
    } else {
        // Without an answer another try would fail as this one did.
        if (!current_->answered || ++current_->failures == triesAllowed || !startHelper())
            finish(failedError);
        question_.tell("Authentication failed.");
    }
}

void PolkitAgent::finish(const QString& error)
{
    if (!current_)
        return;
    const QDBusMessage call = current_->call;
    current_.reset();
    withdraw();
    bus_.send(error.isEmpty() ? call.createReply() : call.createErrorReply(error, error));
}

}
