#pragma once

namespace vossel {

class Accounts;
class AlertSound;
class Authenticator;
class Clock;
class CodeSigning;
class DriverService;
class Installers;
class MainThread;
class NotificationCentre;
class Notices;
class ProcessControl;
class Processes;
class Session;
class ThreadLauncher;
class Timers;
class Volumes;
class WindowSystem;
class Workspace;

// The operating system as the agent sees it: one reference for each service. Whoever makes a Host
// fills it by name and keeps what it refers to alive as long as anything that was made from it.
// Only what assembles an agent has a whole one: a class takes the services that it uses.
struct Host {
    Clock& clock;
    ThreadLauncher& threads;
    MainThread& mainThread;
    Timers& timers;
    DriverService& driver;
    Session& session;
    Accounts& accounts;
    Processes& processes;
    Installers& installers;
    Volumes& volumes;
    CodeSigning& codeSigning;
    Authenticator& authenticator;
    NotificationCentre& notifications;
    Notices& notices;
    WindowSystem& windows;
    Workspace& workspace;
    ProcessControl& processControl;
    AlertSound& alertSound;
};

// Those of the services that depend on how the user is asked.
struct UserServices {
    NotificationCentre& notifications;
    Notices& notices;
    WindowSystem& windows;
    ProcessControl& processControl;
    AlertSound& alertSound;
};

}
