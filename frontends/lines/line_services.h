#pragma once

#include "platform/alert_sound.h"
#include "platform/notifications.h"

namespace vossel {

class LineOutput;

// Notifications as events "notification". A script cannot click on one: the delegate is never
// called. Any thread.
class LineNotifications final : public NotificationCentre {
public:
    explicit LineNotifications(LineOutput& output)
        : output_(output)
    {
    }

    void setDelegate(NotificationCentreDelegate*) override { }
    void deliver(const UserNotification& notification) override;
    void removeDelivered(const std::string&) override { }

private:
    LineOutput& output_;
};

// Notices as events "notice"; nobody dismisses one, so none is waited for. Any thread.
class LineNotices final : public Notices {
public:
    explicit LineNotices(LineOutput& output)
        : output_(output)
    {
    }

    void display(const Notice& notice) override;
    void displayAndWait(const Notice& notice) override { display(notice); }

private:
    LineOutput& output_;
};

// Scripts press no keys, so there is none to warn of.
class LineAlertSound final : public AlertSound {
public:
    void play() override { }
};

}
