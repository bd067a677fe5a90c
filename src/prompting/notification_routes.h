#pragma once

#include "platform/notifications.h"

#include <cstdint>

namespace vossel {

// Where clicks on other components' notifications go. Called on the main thread; implemented by
// those who know the autodetection and the monitors.
class NotificationRoutes {
public:
    virtual ~NotificationRoutes() = default;

    // A notification about a ready-made rule set was activated in any way.
    virtual void autodetectDidActivateNotification(const UserNotification& notification,
        NotificationActivation activation, std::int32_t alternateAction)
        = 0;
    // A microphone or camera notification was clicked or one of its actions chosen.
    virtual void deviceDidDismissUserNotification(const UserNotification& notification,
        NotificationActivation activation, std::int32_t alternateAction)
        = 0;
    // An action of an event-tap notification was chosen: which silence it asks for.
    virtual void ignoreApplication(const PropertyList& userInfo, std::int32_t mode) = 0;
    // The body of an event-tap notification was clicked.
    virtual void tapDidDismissNotificationWithUserInfo(const PropertyList& userInfo) = 0;
};

}
