#pragma once

#include "app/agent.h"
#include "app/user_interface.h"
#include "hosts/desktop/desktop_host.h"
#include "settings/directories.h"

#include <memory>
#include <string>
#include <string_view>

namespace vossel {

// One run of VosselUserAgent: the machine, the way to ask and the agent on them, from the start to
// the end of the process. Main thread, where a QCoreApplication exists.
class AgentProcess {
public:
    // `prefix` moves the product's files.
    AgentProcess(std::string_view prefix, const UserInterface::Factory& interface);
    AgentProcess(const AgentProcess&) = delete;
    AgentProcess& operator=(const AgentProcess&) = delete;

    // Serves the driver until SIGTERM or SIGINT comes, there is nothing left to serve, or nobody
    // can be asked any more: such an agent must leave the driver to its default. Returns the
    // process's exit status, 2 in the last case; does not return, but leaves the process with it,
    // where a thread still hangs in a call of the system's after a few seconds.
    int run();

private:
    void served();
    void end();
    void loseUser(const std::string& reason);
    [[nodiscard]] bool endThreads();

    const Directories directories_;
    DesktopHost host_;
    const std::unique_ptr<UserInterface> interface_;
    Agent agent_;
    bool ending_ = false;
    int status_ = 0;
};

}
