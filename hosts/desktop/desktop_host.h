#pragma once

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

#include <functional>
#include <string>

namespace vossel {

// This machine and the session of the user who runs the process: it owns one of each service, but
// for those that depend on how the user is asked. Made on the main thread, where a QCoreApplication
// exists, once in a process. It must not own windows or decide anything for the agent. What is
// declared later uses what is declared earlier.
class DesktopHost {
public:
    // `isAdministrator`: whether a fingerprint of this user is an administrator's.
    DesktopHost(std::string driverSocket, std::function<bool(const Accounts&)> isAdministrator);
    DesktopHost(const DesktopHost&) = delete;
    DesktopHost& operator=(const DesktopHost&) = delete;

    [[nodiscard]] Host with(const UserServices& user);

    LinuxClock clock;
    QtMainThread mainThread;
    QtTimers timers;
    LinuxDriverService driver;
    LinuxSession session;
    LinuxAccounts accounts;
    LinuxProcesses processes;
    LinuxInstallers installers;
    LinuxVolumes volumes;
    PackageIdentity packages;
    LinuxCodeSigning codeSigning{packages};
    PolkitAuthenticator authenticator;
    LinuxWorkspace workspace;

private:
    LinuxThreadLauncher signalThreads_; // apart, for it ends with processControl only

public:
    LinuxProcessControl processControl{signalThreads_};
    LinuxThreadLauncher threads;
};

}
