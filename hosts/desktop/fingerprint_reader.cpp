#include "hosts/desktop/fingerprint_reader.h"

#include "foundation/log.h"
#include "hosts/desktop/bus.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QEventLoop>
#include <QTimer>

namespace vossel {

namespace {

const QString service = QStringLiteral("net.reactivated.Fprint");
const QString managerPath = QStringLiteral("/net/reactivated/Fprint/Manager");
const QString managerInterface = QStringLiteral("net.reactivated.Fprint.Manager");
const QString deviceInterface = QStringLiteral("net.reactivated.Fprint.Device");

// The service may have to be started first, and a claim may wait for a reader to wake.
constexpr std::chrono::seconds callTimeout(10);

QDBusMessage callDevice(const QDBusConnection& bus, const QString& device, const QString& method,
    const QVariantList& arguments = {})
{
    auto message = QDBusMessage::createMethodCall(service, device, deviceInterface, method);
    message.setArguments(arguments);
    return callServing(bus, message, callTimeout);
}

bool isReply(const QDBusMessage& message)
{
    return message.type() == QDBusMessage::ReplyMessage;
}

// Empty when there is no reader.
QString defaultDevice(const QDBusConnection& bus)
{
    const auto reply = callServing(bus,
        QDBusMessage::createMethodCall(
            service, managerPath, managerInterface, QStringLiteral("GetDefaultDevice")),
        callTimeout);
    if (!isReply(reply) || reply.arguments().isEmpty())
        return {};
    return reply.arguments().constFirst().value<QDBusObjectPath>().path();
}

// Hears the reader's verdict. A finger that was placed badly is none: the service asks again.
class Verdict final : public QObject {
    Q_OBJECT
public:
    [[nodiscard]] bool await(std::chrono::milliseconds patience)
    {
        if (!isDone_) {
            QTimer::singleShot(patience, &loop_, [this] { loop_.quit(); });
            loop_.exec();
        }
        return isMatch_;
    }

public Q_SLOTS:
    void verifyStatus(const QString& result, bool done)
    {
        if (isDone_ || !done)
            return;
        isDone_ = true;
        isMatch_ = result == QStringLiteral("verify-match");
        loop_.quit();
    }

private:
    QEventLoop loop_;
    bool isDone_ = false;
    bool isMatch_ = false;
};

}

bool FingerprintReader::canVerify() const
{
    const QString device = defaultDevice(bus_);
    if (device.isEmpty())
        return false;
    // An empty name stands for the caller.
    const auto reply = callDevice(bus_, device, QStringLiteral("ListEnrolledFingers"), {QString()});
    return isReply(reply) && !reply.arguments().isEmpty()
        && !reply.arguments().constFirst().toStringList().isEmpty();
}

bool FingerprintReader::verify(std::chrono::milliseconds patience) const
{
    const QString device = defaultDevice(bus_);
    if (device.isEmpty()
        || !isReply(callDevice(bus_, device, QStringLiteral("Claim"), {QString()})))
        return false;
    QDBusConnection bus = bus_;
    Verdict verdict;
    bool isMatch = false;
    if (bus.connect(service, device, deviceInterface, QStringLiteral("VerifyStatus"), &verdict,
            SLOT(verifyStatus(QString, bool)))) {
        const auto start
            = callDevice(bus_, device, QStringLiteral("VerifyStart"), {QStringLiteral("any")});
        if (isReply(start)) {
            isMatch = verdict.await(patience);
            (void)callDevice(bus_, device, QStringLiteral("VerifyStop"));
        } else {
            logText("the fingerprint reader refused: %@", start.errorMessage().toStdString());
        }
    }
    (void)callDevice(bus_, device, QStringLiteral("Release"));
    return isMatch;
}

}

#include "fingerprint_reader.moc"
