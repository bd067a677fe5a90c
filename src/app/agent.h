#pragma once

#include "agent/driver_link.h"
#include "agent/filter_status.h"
#include "app/user_interface.h"
#include "prompting/permissions_manager.h"
#include "ui/prompt/prompt_view_model_factory.h"
#include "user/user_checks.h"

#include <functional>

namespace vossel {

// The agent of one user: the filter status, the broker, the prompts and the driver link, tied
// together. It owns these and nothing of the system: services and the way to ask come from outside
// and outlive it. Main thread; the driver link has threads of its own.
class Agent {
public:
    Agent(const Host& host, const Directories& directories, UserInterface& interface);
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    // Starts to serve the driver. `served` is called on the main thread when there is nothing left
    // to serve: somebody else does. False when the system has no thread left to give.
    [[nodiscard]] bool start(std::function<void()> served);
    // Leaves the driver, before anything else ends: an answer that comes of ending (a dialog cut
    // short) is nobody's decision, and the driver decides by its own default what is still open.
    void leaveDriver();
    // Takes down what the user sees of it.
    void stop();
    // Ends what its threads may be waiting for. Repeated until they have ended, for a connection
    // may have been opened, or a query presented, just after the last was ended.
    void releaseThreads();

private:
    const Host host_;
    UserInterface& interface_;
    const UserChecks userChecks_;
    FilterStatus filterStatus_;
    PermissionsManager manager_;
    PromptViewModelFactory prompts_;
    DriverLink link_;
};

}
