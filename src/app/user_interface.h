#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace vossel {

class AlertSound;
class Clock;
class MainThread;
class NotificationCentre;
class Notices;
class PermissionsManager;
class PersonQuestion;
class ProcessControl;
class Processes;
class PromptPresenter;
class ResponseListener;
class ThreadLauncher;
class Timers;
class WindowSystem;

// How the agent speaks with its user: on a terminal, by lines for a script. The services that
// differ with it, and who shows the prompts. Made, used and destroyed on the main thread; each
// service is used as its own interface says.
class UserInterface {
public:
    // What it is made of; outlives it.
    struct Surroundings {
        Clock& clock;
        MainThread& mainThread;
        Timers& timers;
        const Processes& processes;
        ProcessControl& processControl;
        // Main thread: nobody can be asked any more, for this reason; the agent ends.
        std::function<void(const std::string& reason)> lost;
    };
    using Factory = std::function<std::unique_ptr<UserInterface>(const Surroundings&)>;

    virtual ~UserInterface() = default;

    [[nodiscard]] virtual AlertSound& alertSound() = 0;
    [[nodiscard]] virtual NotificationCentre& notifications() = 0;
    [[nodiscard]] virtual Notices& notices() = 0;
    [[nodiscard]] virtual ProcessControl& processControl() = 0;
    [[nodiscard]] virtual WindowSystem& windows() = 0;
    // Null where the desktop asks for passwords.
    [[nodiscard]] virtual PersonQuestion* question() = 0;

    [[nodiscard]] virtual PromptPresenter& presenter() = 0;
    [[nodiscard]] virtual ResponseListener& responses() = 0;
    // Before the first prompt; for those who ask the manager themselves.
    virtual void setManager(const PermissionsManager*) { }

    // False when the system has no thread left to give.
    [[nodiscard]] virtual bool start(ThreadLauncher& threads) = 0;
    virtual void stop() = 0;
    // Any thread.
    virtual void filterStatusChanged(std::int32_t status) = 0;
};

}
