#pragma once

#include "foundation/property_list.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vossel {

// A notification that the user may act on.
struct UserNotification {
    std::string identifier; // the centre makes one where it is empty
    std::string title;
    std::string informativeText;
    std::optional<std::string> actionButtonTitle;
    std::vector<std::string> alternateActions;
    std::optional<PropertyList> userInfo; // a dictionary that says whose notification it is

    bool operator==(const UserNotification&) const = default;
};

enum class NotificationActivation { ContentsClicked, ActionButtonClicked, AlternateActionClicked };

// Called on the main thread.
class NotificationCentreDelegate {
public:
    virtual ~NotificationCentreDelegate() = default;

    [[nodiscard]] virtual bool shouldPresentNotification(const UserNotification& notification) = 0;
    // `alternateAction` is the index of the action chosen, -1 for the two other activations.
    virtual void didActivateNotification(const UserNotification& notification,
        NotificationActivation activation, std::int32_t alternateAction)
        = 0;
};

// Callable from any thread; returns at once. What cannot be shown is dropped.
class NotificationCentre {
public:
    virtual ~NotificationCentre() = default;

    virtual void setDelegate(NotificationCentreDelegate* delegate) = 0;
    virtual void deliver(const UserNotification& notification) = 0;
    virtual void removeDelivered(const std::string& identifier) = 0;
};

// A system message box that asks nothing.
struct Notice {
    std::string header;
    std::string message;
    std::string icon; // path of an image; empty for none
    std::string button = "OK";
    std::int32_t timeoutSeconds = 0; // 0: stays until dismissed

    bool operator==(const Notice&) const = default;
};

class Notices {
public:
    virtual ~Notices() = default;

    // Shows it and returns at once.
    virtual void display(const Notice& notice) = 0;
    // Shows it and returns when the user has dismissed it, or at once where it cannot be shown.
    virtual void displayAndWait(const Notice& notice) = 0;
};

}
