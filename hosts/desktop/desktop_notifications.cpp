#include "hosts/desktop/desktop_notifications.h"

#include "foundation/glyph_elision.h"
#include "foundation/log.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QVariantMap>

#include <memory>

namespace vossel {

namespace {

constexpr int answerTime = 5000; // milliseconds
constexpr int serviceChooses = -1; // how long it shows a notification
constexpr std::size_t maxKnown = 100;

QString plain(const std::string& text)
{
    return QString::fromStdString(joined(toGlyphs(text, Charset::Utf8)));
}

}

DesktopNotifications::DesktopNotifications(
    MainThread& mainThread, Clock& clock, std::function<void(const UserNotification&)> instead)
    : mainThread_(mainThread)
    , clock_(clock)
    , instead_(std::move(instead))
{
}

void DesktopNotifications::deliver(const UserNotification& notification)
{
    mainThread_.perform([this, notification] { show(notification); });
}

void DesktopNotifications::show(const UserNotification& notification)
{
    if (isTooMuch(notification))
        return;
    if (markup_)
        return notify(notification);
    call("GetCapabilities", {}, [this, notification](const QDBusMessage& reply) {
        if (reply.type() != QDBusMessage::ReplyMessage)
            return showInstead(notification, reply);
        markup_ = reply.arguments().value(0).toStringList().contains("body-markup");
        notify(notification);
    });
}

bool DesktopNotifications::isTooMuch(const UserNotification& notification)
{
    const Clock::Instant now = clock_.now();
    while (!recent_.empty() && recent_.front().time + quietTime <= now)
        recent_.pop_front();
    std::size_t ofTitle = 0;
    for (const Shown& shown : recent_) {
        if (shown.title != notification.title)
            continue;
        if (shown.text == notification.informativeText || ++ofTitle == maxInQuietTime)
            return true;
    }
    recent_.push_back({now, notification.title, notification.informativeText});
    return false;
}

void DesktopNotifications::notify(const UserNotification& notification)
{
    const auto known = shown_.find(notification.identifier);
    const unsigned replaces = known == shown_.end() ? 0 : known->second;
    QString body = plain(notification.informativeText);
    if (*markup_)
        body = body.toHtmlEscaped();
    call("Notify",
        {"Vossel", replaces, QString(), plain(notification.title), body, QStringList(),
            QVariantMap(), serviceChooses},
        [this, notification](const QDBusMessage& reply) {
            if (reply.type() != QDBusMessage::ReplyMessage) {
                markup_.reset(); // another service may come
                return showInstead(notification, reply);
            }
            if (notification.identifier.empty())
                return;
            if (shown_.size() >= maxKnown)
                shown_.clear();
            shown_[notification.identifier] = reply.arguments().value(0).toUInt();
        });
}

void DesktopNotifications::showInstead(
    const UserNotification& notification, const QDBusMessage& reply)
{
    logText("no notification service: %@", reply.errorMessage().toStdString());
    instead_(notification);
}

void DesktopNotifications::removeDelivered(const std::string& identifier)
{
    mainThread_.perform([this, identifier] {
        const auto known = shown_.find(identifier);
        if (known == shown_.end())
            return;
        call("CloseNotification", {known->second}, [](const QDBusMessage&) {});
        shown_.erase(known);
    });
}

void DesktopNotifications::call(const QString& method, const QList<QVariant>& arguments,
    std::function<void(const QDBusMessage&)> replied)
{
    QDBusMessage message = QDBusMessage::createMethodCall("org.freedesktop.Notifications",
        "/org/freedesktop/Notifications", "org.freedesktop.Notifications", method);
    message.setArguments(arguments);
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        replied(message.createErrorReply(QDBusError::Disconnected, "no session bus"));
        return;
    }
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(message, answerTime), &here_);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &here_,
        [replied = std::move(replied)](QDBusPendingCallWatcher* ended) {
            ended->deleteLater();
            replied(ended->reply());
        });
}

}
