#pragma once

#include "platform/process_control.h"

#include <memory>

namespace vossel {

class ThreadLauncher;

// The agent's own process: a thread takes its hang-up signals. Any thread, but onHangUp not from
// within the handler.
class LinuxProcessControl final : public ProcessControl {
public:
    // Called first of all in main, before any thread exists: a thread that does not block the
    // signal would be killed by it, with the program. Programs that this one starts inherit the
    // block and are to be given an empty signal mask.
    static void blockHangUp();

    // `threads` must outlive this. Without a thread or descriptor to spare hang-ups have no effect;
    // that is logged.
    explicit LinuxProcessControl(ThreadLauncher& threads);
    // Waits for a handler that is being called.
    ~LinuxProcessControl() override;
    LinuxProcessControl(const LinuxProcessControl&) = delete;
    LinuxProcessControl& operator=(const LinuxProcessControl&) = delete;

    // The handler before is not called any more, nor still running, once this returns. Signals in
    // quick succession may be taken as one.
    void onHangUp(std::function<void()> handler) override;
    // Root, and whoever may trace any process, is not kept out. The process leaves no core files
    // afterwards, and its files under /proc belong to root.
    void denyDebuggers() override;

private:
    struct Listener;

    std::shared_ptr<Listener> listener_;
};

}
