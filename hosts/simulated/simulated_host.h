#pragma once

#include "hosts/simulated/simulated_clock.h"
#include "hosts/simulated/simulated_driver.h"
#include "hosts/simulated/simulated_system.h"
#include "hosts/simulated/simulated_threads.h"
#include "platform/host.h"

namespace vossel {

// A whole operating system in memory, time moved by hand. The thread that makes it is the main
// thread. Its threads are joined when it goes: whatever runs on them must have been ended before.
class SimulatedHost {
public:
    SimulatedHost() = default;

    SimulatedClock clock;
    SimulatedMainThread mainThread;
    SimulatedTimers timers{clock};
    SimulatedDriver driver;
    SimulatedSession session;
    SimulatedAccounts accounts;
    SimulatedProcesses processes;
    SimulatedInstallers installers;
    SimulatedVolumes volumes;
    SimulatedCodeSigning codeSigning;
    SimulatedAuthenticator authenticator;
    SimulatedNotifications notifications;
    SimulatedNotices notices;
    SimulatedWindows windows;
    SimulatedWorkspace workspace;
    SimulatedProcessControl processControl;
    SimulatedAlertSound alertSound;
    SimulatedThreads threads; // last: joined while everything else is still there

    const Host host{
        .clock = clock,
        .threads = threads,
        .mainThread = mainThread,
        .timers = timers,
        .driver = driver,
        .session = session,
        .accounts = accounts,
        .processes = processes,
        .installers = installers,
        .volumes = volumes,
        .codeSigning = codeSigning,
        .authenticator = authenticator,
        .notifications = notifications,
        .notices = notices,
        .windows = windows,
        .workspace = workspace,
        .processControl = processControl,
        .alertSound = alertSound,
    };

    // Moves the time, fires the timers that are due and runs what the main thread has to do.
    void advance(Clock::Duration duration)
    {
        clock.advance(duration);
        timers.fireDue();
        mainThread.runPending();
    }
};

}
