#pragma once

#include <functional>
#include <string_view>

namespace vossel {

// Starts every thread of the program, so that a test can join what the product detaches.
class ThreadLauncher {
public:
    virtual ~ThreadLauncher() = default;

    // Runs `entry` on a new thread. False when the system has no thread left to give; `entry` is
    // then not called. An exception that leaves `entry` is caught and logged.
    [[nodiscard]] virtual bool launch(std::string_view name, std::function<void()> entry) = 0;
};

// The thread that owns windows and menus.
class MainThread {
public:
    virtual ~MainThread() = default;

    [[nodiscard]] virtual bool isCurrent() const = 0;
    // Runs `task` on the main thread, later, in the order of the calls.
    virtual void perform(std::function<void()> task) = 0;
    // Runs `task` on the main thread and returns when it is done; at once when already there.
    virtual void performAndWait(const std::function<void()>& task) = 0;
};

}
