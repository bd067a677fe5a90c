#pragma once

#include "platform/host.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace vossel {

class PersonQuestion;
class PromptPresenter;
class ResponseListener;

// How the agent speaks with its user: in windows, on a terminal, by lines for a script. It owns the
// services that differ with it, and what shows the prompts; it decides nothing. Made, used and
// destroyed on the main thread; each service is used as its own interface says.
class UserInterface {
public:
    // What it is made of; outlives it.
    struct Surroundings {
        Clock& clock;
        MainThread& mainThread;
        Timers& timers;
        ProcessControl& processControl;
        // Ends the agent, which can ask nobody any more for this reason. Main thread.
        std::function<void(const std::string& reason)> lost;
    };
    using Factory = std::function<std::unique_ptr<UserInterface>(const Surroundings&)>;

    virtual ~UserInterface() = default;

    [[nodiscard]] virtual UserServices services() = 0;
    // Where passwords are asked for; null leaves that to the desktop.
    [[nodiscard]] virtual PersonQuestion* question() = 0;

    [[nodiscard]] virtual PromptPresenter& presenter() = 0;
    [[nodiscard]] virtual ResponseListener& responses() = 0;

    // False when the system has no thread left to give.
    [[nodiscard]] virtual bool start(ThreadLauncher& threads) = 0;
    virtual void stop() = 0;
    // Any thread.
    virtual void filterStatusChanged(std::int32_t status) = 0;
};

}
