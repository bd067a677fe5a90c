#include "hosts/desktop/polkit_authenticator.h"

#include "foundation/log.h"
#include "hosts/desktop/fingerprint_reader.h"
#include "hosts/desktop/polkit_authority.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QMap>

#include <atomic>
#include <cstdint>
#include <utility>

namespace vossel {

namespace {

const QString action = QStringLiteral("org.vossel.authenticate");

constexpr std::uint32_t allowUserInteraction = 1;

void cancelCheck(const QDBusConnection& bus, const QString& cancellation)
{
    bus.send(authorityCall(QStringLiteral("CancelCheckAuthorization"), {cancellation}));
}

// The reply is a structure of two truths and details: authorised, could be after a challenge.
bool isAuthorized(const QDBusMessage& reply)
{
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != u"(bba{ss})")
        return false;
    const auto result = reply.arguments().constFirst().value<QDBusArgument>();
    bool authorized = false;
    result.beginStructure();
    result >> authorized;
    result.endStructure();
    return authorized;
}

}

bool PolkitAuthenticator::canEvaluateFingerprint()
{
    if (!userIsAdministrator_())
        return false;
    const QDBusConnection bus = bus_.connection();
    return bus.isConnected() && FingerprintReader(bus).canVerify();
}

bool PolkitAuthenticator::evaluateFingerprint(std::string_view)
{
    const QDBusConnection bus = bus_.connection();
    return bus.isConnected() && FingerprintReader(bus).verify(fingerBound);
}

bool PolkitAuthenticator::obtainAdministratorRight()
{
    static std::atomic<unsigned> count = 0;
    const QDBusConnection bus = bus_.connection();
    if (!bus.isConnected()) {
        logText("no administrator can be asked for: there is no system bus");
        return false;
    }
    cancel();
    Check check{bus, QStringLiteral("vossel-%1").arg(++count)};
    current_ = &check;
    const QDBusMessage reply = ask(check);
    if (check.cancelled)
        return false;
    current_ = nullptr;
    if (reply.type() == QDBusMessage::ReplyMessage)
        return isAuthorized(reply);
    logText("no administrator could be asked for: %@", reply.errorMessage().toStdString());
    // The dialog may still stand.
    cancelCheck(check.bus, check.cancellation);
    return false;
}

QDBusMessage PolkitAuthenticator::ask(Check& check)
{
    if (question_ && !check.agent.emplace(check.bus, *question_, helper_).enrol())
        check.agent.reset();
    if (check.cancelled)
        return {};
    qDBusRegisterMetaType<QMap<QString, QString>>();
    const auto reply = callServing(check.bus,
        authorityCall(QStringLiteral("CheckAuthorization"),
            {QVariant::fromValue(ownProcess()), action,
                QVariant::fromValue(QMap<QString, QString>()), allowUserInteraction,
                check.cancellation}),
        dialogBound);
    check.agent.reset();
    return reply;
}

void PolkitAuthenticator::cancel()
{
    Check* const check = std::exchange(current_, nullptr);
    if (!check)
        return;
    check->cancelled = true;
    if (check->agent)
        check->agent->cancel();
    cancelCheck(check->bus, check->cancellation);
}

}
