#pragma once

#include "agent/driver_link.h"
#include "agent/filter_status.h"
#include "app/user_interface.h"
#include "hosts/desktop/linux_workspace.h"
#include "hosts/desktop/polkit_authenticator.h"
#include "hosts/desktop/qt_main_thread.h"
#include "hosts/desktop/qt_timers.h"
#include "hosts/linux/accounts.h"
#include "hosts/linux/clock.h"
#include "hosts/linux/code_signing.h"
#include "hosts/linux/driver_service.h"
#include "hosts/linux/installers.h"
#include "hosts/linux/package_identity.h"
#include "hosts/linux/process_control.h"
#include "hosts/linux/processes.h"
#include "hosts/linux/session.h"
#include "hosts/linux/thread_launcher.h"
#include "hosts/linux/volumes.h"
#include "platform/host.h"
#include "prompting/permissions_manager.h"
#include "settings/directories.h"
#include "ui/prompt/prompt_view_model_factory.h"
#include "user/user_checks.h"

#include <memory>
#include <string>
#include <string_view>

namespace vossel {

// The agent of one user on this machine: every service and every part, tied together. Made and run
// on the main thread, once in a process. What is declared later uses what is declared earlier.
class AgentAssembly {
public:
    // `prefix` moves the files.
    AgentAssembly(std::string_view prefix, const UserInterface::Factory& interface);
    AgentAssembly(const AgentAssembly&) = delete;
    AgentAssembly& operator=(const AgentAssembly&) = delete;

    // Serves the driver until SIGTERM or SIGINT comes, there is nothing left to serve, or nobody
    // can be asked any more: such an agent must leave the driver to its default. Returns the
    // process's exit status, 2 in the last case; does not return, but leaves the process with it,
    // where a thread still hangs in a call of the system's after a few seconds.
    int run();

private:
    [[nodiscard]] bool start();
    void serve();
    void endService();
    void loseUser(const std::string& reason);
    [[nodiscard]] bool endThreads();

    const Directories directories_;

    LinuxClock clock_;
    QtMainThread mainThread_;
    QtTimers timers_;
    LinuxDriverService driver_;
    LinuxSession session_;
    LinuxAccounts accounts_;
    LinuxProcesses processes_;
    LinuxInstallers installers_;
    LinuxVolumes volumes_;
    PackageIdentity packages_;
    LinuxCodeSigning codeSigning_;
    PolkitAuthenticator authenticator_;
    LinuxWorkspace workspace_;
    LinuxThreadLauncher signalThreads_; // apart, for it ends with processControl_ only
    LinuxProcessControl processControl_;
    LinuxThreadLauncher threads_;
    const std::unique_ptr<UserInterface> interface_;
    const Host host_;

    const UserChecks userChecks_;
    FilterStatus filterStatus_;
    PermissionsManager manager_;
    PromptViewModelFactory prompts_;
    DriverLink link_;
    bool asked_ = false; // to end
    int status_ = 0;
};

}
