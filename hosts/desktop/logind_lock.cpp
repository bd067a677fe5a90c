#include "hosts/desktop/logind_lock.h"

#include "hosts/desktop/bus.h"

#include <QDBusObjectPath>
#include <QDBusVariant>

#include <chrono>

namespace vossel {

namespace {

constexpr std::chrono::milliseconds callTimeout(500); // two calls

const QString service = QStringLiteral("org.freedesktop.login1");

QVariant firstOf(const QDBusMessage& reply)
{
    const bool isReply = reply.type() == QDBusMessage::ReplyMessage;
    return isReply && !reply.arguments().isEmpty() ? reply.arguments().constFirst() : QVariant();
}

}

LogindLock::LogindLock()
    : bus_(std::make_shared<SystemBus>())
{
}

bool LogindLock::operator()(const std::string& session) const
{
    const QDBusConnection bus = bus_->connection();
    if (!bus.isConnected())
        return false;
    auto question
        = QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/login1"),
            QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("GetSession"));
    question << QString::fromStdString(session);
    const QString path
        = firstOf(callBlocking(bus, question, callTimeout)).value<QDBusObjectPath>().path();
    if (path.isEmpty())
        return false;
    auto get = QDBusMessage::createMethodCall(
        service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << QStringLiteral("org.freedesktop.login1.Session") << QStringLiteral("LockedHint");
    return firstOf(callBlocking(bus, get, callTimeout)).value<QDBusVariant>().variant().toBool();
}

}
