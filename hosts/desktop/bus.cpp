#include "hosts/desktop/bus.h"

#include <QDBusPendingCallWatcher>
#include <QEventLoop>

#include <atomic>

namespace vossel {

namespace {

QString nextName()
{
    static std::atomic<unsigned> count = 0;
    return QStringLiteral("vossel-%1").arg(++count);
}

}

SystemBus::SystemBus()
    : name_(nextName())
{
}

SystemBus::~SystemBus()
{
    QDBusConnection::disconnectFromBus(name_);
}

QDBusConnection SystemBus::connection()
{
    const MutexLock lock(mutex_);
    QDBusConnection known(name_);
    if (known.isConnected())
        return known;
    QDBusConnection::disconnectFromBus(name_);
    return QDBusConnection::connectToBus(QDBusConnection::SystemBus, name_);
}

QDBusMessage callBlocking(
    const QDBusConnection& bus, const QDBusMessage& message, std::chrono::milliseconds timeout)
{
    return bus.call(message, QDBus::Block, static_cast<int>(timeout.count()));
}

QDBusMessage callServing(
    const QDBusConnection& bus, const QDBusMessage& message, std::chrono::milliseconds timeout)
{
    QDBusPendingCallWatcher watcher(bus.asyncCall(message, static_cast<int>(timeout.count())));
    QEventLoop loop;
    QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, [&loop] { loop.quit(); });
    if (!watcher.isFinished())
        loop.exec();
    return watcher.isFinished() ? watcher.reply() : QDBusMessage();
}

}
