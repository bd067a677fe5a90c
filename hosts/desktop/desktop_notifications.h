#pragma once

#include "platform/clock.h"
#include "platform/notifications.h"
#include "platform/threads.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>

class QDBusMessage;

namespace vossel {

// Notifications by whatever serves org.freedesktop.Notifications in the session.
// Nobody can click on one yet: the delegate is never called. Calls come from any thread; everything
// else is done on the main thread.
class DesktopNotifications final : public NotificationCentre {
public:
    // At most so many notifications of one title are shown in that time, and none twice with the
    // same text: a program that composes a thousand events must not bury the screen.
    static constexpr std::chrono::seconds quietTime{10};
    static constexpr std::size_t maxInQuietTime = 3;

    // `instead` is called on the main thread with what the service does not take, or where there is
    // none.
    DesktopNotifications(
        MainThread& mainThread, Clock& clock, std::function<void(const UserNotification&)> instead);

    void setDelegate(NotificationCentreDelegate*) override { }
    void deliver(const UserNotification& notification) override;
    void removeDelivered(const std::string& identifier) override;

private:
    void show(const UserNotification& notification);
    [[nodiscard]] bool isTooMuch(const UserNotification& notification);
    void notify(const UserNotification& notification);
    void showInstead(const UserNotification& notification, const QDBusMessage& reply);
    void call(const QString& method, const QList<QVariant>& arguments,
        std::function<void(const QDBusMessage&)> replied);

    MainThread& mainThread_;
    Clock& clock_;
    const std::function<void(const UserNotification&)> instead_;
    // The main thread's.
    QObject here_;
    std::optional<bool> markup_; // whether the service reads bodies as markup, once it has said so
    std::map<std::string, unsigned> shown_; // the service's numbers, by our identifiers
    struct Shown {
        Clock::Instant time;
        std::string title;
        std::string text;
    };
    std::deque<Shown> recent_;
};

}
