#pragma once

#include "platform/notifications.h"

#include <deque>
#include <string>
#include <string_view>

namespace vossel {

class MainThread;
class TerminalChoice;

// Lines on the agent's own terminal, outside of the prompts: what was answered, notifications,
// notices. They appear while the agent is in the foreground there, so that they never stand in the
// middle of another program's output; otherwise in the log only.
class TerminalMessages {
public:
    // At most so many lines wait for a prompt to go; more are only logged.
    static constexpr std::size_t maxWaiting = 50;

    TerminalMessages(TerminalChoice& choice, MainThread& mainThread)
        : choice_(choice)
        , mainThread_(mainThread)
    {
    }

    // Any thread. Any bytes; it becomes one line.
    void say(std::string_view text);
    // Main thread. While a prompt stands on the agent's own terminal, lines wait.
    void hold(bool held);

private:
    void show(const std::string& text);

    TerminalChoice& choice_;
    MainThread& mainThread_;
    // The main thread's.
    bool held_ = false;
    std::deque<std::string> waiting_;
};

// Notifications as such lines. Nobody can click on one: the delegate is never called. Any thread.
class TerminalNotifications final : public NotificationCentre {
public:
    explicit TerminalNotifications(TerminalMessages& messages)
        : messages_(messages)
    {
    }

    void setDelegate(NotificationCentreDelegate*) override { }
    void deliver(const UserNotification& notification) override
    {
        messages_.say(notification.title + ": " + notification.informativeText);
    }
    void removeDelivered(const std::string&) override { }

private:
    TerminalMessages& messages_;
};

// Notices as such lines; nobody dismisses one, so none is waited for. Any thread.
class TerminalNotices final : public Notices {
public:
    explicit TerminalNotices(TerminalMessages& messages)
        : messages_(messages)
    {
    }

    void display(const Notice& notice) override
    {
        messages_.say(notice.header + ": " + notice.message);
    }
    void displayAndWait(const Notice& notice) override { display(notice); }

private:
    TerminalMessages& messages_;
};

}
