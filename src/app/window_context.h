#pragma once

namespace vossel {

class Clock;
class Directories;
class MainThread;
class ThreadLauncher;
class WindowPresenter;
class WindowSystem;

// What the application's own windows are made from; all of it outlives them.
struct WindowContext {
    Clock& clock;
    ThreadLauncher& threads;
    MainThread& mainThread;
    WindowSystem& windows;
    const Directories& directories;
    WindowPresenter& presenter;
};

}
