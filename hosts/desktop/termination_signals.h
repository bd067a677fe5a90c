#pragma once

#include "foundation/files.h"

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace vossel {

// SIGTERM and SIGINT as calls on the main loop, and no death by a broken pipe.
class TerminationSignals {
public:
    // First of all in main, before any thread exists: threads and descriptors inherit it.
    static void block();

    // Main thread. `handler` is called there for each signal.
    explicit TerminationSignals(std::function<void()> handler);

private:
    UniqueFd fd_;
    std::unique_ptr<QSocketNotifier> notifier_; // goes before its descriptor
};

}
