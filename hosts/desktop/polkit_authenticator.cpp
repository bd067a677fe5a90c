#include "hosts/desktop/polkit_authenticator.h"

#include "foundation/files.h"
#include "foundation/log.h"
#include "hosts/desktop/fingerprint_reader.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QMap>

#include <unistd.h>

#include <atomic>
#include <charconv>
#include <cstdint>
#include <string>

namespace vossel {

// Whom an authorization is for, as it travels: (sa{sv}).
struct PolkitSubject {
    QString kind;
    QVariantMap details;
};

static QDBusArgument& operator<<(QDBusArgument& argument, const PolkitSubject& subject)
{
    argument.beginStructure();
    argument << subject.kind << subject.details;
    argument.endStructure();
    return argument;
}

static const QDBusArgument& operator>>(const QDBusArgument& argument, PolkitSubject& subject)
{
    argument.beginStructure();
    argument >> subject.kind >> subject.details;
    argument.endStructure();
    return argument;
}

}
Q_DECLARE_METATYPE(vossel::PolkitSubject)
namespace vossel {

namespace {

const QString service = QStringLiteral("org.freedesktop.PolicyKit1");
const QString authority = QStringLiteral("/org/freedesktop/PolicyKit1/Authority");
const QString interface = QStringLiteral("org.freedesktop.PolicyKit1.Authority");
const QString action = QStringLiteral("org.vossel.authenticate");

constexpr std::uint32_t allowUserInteraction = 1;

// When this process began, in the kernel's ticks since start-up: the 22nd field of its stat line,
// the second of which ends at the line's last ")". polkit tells by it a process from a later one
// with the same number.
std::uint64_t ownStartTime()
{
    const auto stat = readFile("/proc/self/stat", 4096);
    if (!stat)
        return 0;
    std::size_t at = stat->rfind(')');
    for (int field = 2; field < 22 && at != std::string::npos; ++field)
        at = stat->find(' ', at + 1);
    std::uint64_t time = 0;
    if (at != std::string::npos)
        std::from_chars(stat->data() + at + 1, stat->data() + stat->size(), time);
    return time;
}

PolkitSubject ownProcess()
{
    return {QStringLiteral("unix-process"),
        {
            {QStringLiteral("pid"), QVariant::fromValue(static_cast<std::uint32_t>(::getpid()))},
            {QStringLiteral("start-time"), QVariant::fromValue(quint64(ownStartTime()))},
            {QStringLiteral("uid"), QVariant::fromValue(static_cast<std::int32_t>(::getuid()))},
        }};
}

QDBusMessage authorityCall(const QString& method, const QVariantList& arguments)
{
    auto message = QDBusMessage::createMethodCall(service, authority, interface, method);
    message.setArguments(arguments);
    return message;
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
    qDBusRegisterMetaType<QMap<QString, QString>>();
    qDBusRegisterMetaType<PolkitSubject>();
    const QString cancellation = QStringLiteral("vossel-%1").arg(++count);
    const auto reply = callServing(bus,
        authorityCall(QStringLiteral("CheckAuthorization"),
            {QVariant::fromValue(ownProcess()), action,
                QVariant::fromValue(QMap<QString, QString>()), allowUserInteraction, cancellation}),
        dialogBound);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return isAuthorized(reply);
    logText("no administrator could be asked for: %@", reply.errorMessage().toStdString());
    // The dialog may still stand.
    bus.send(authorityCall(QStringLiteral("CancelCheckAuthorization"), {cancellation}));
    return false;
}

}
