#pragma once

#include "foundation/files.h"

#include <QSocketNotifier>

#include <functional>
#include <initializer_list>
#include <memory>

namespace vossel {

// Signals as calls on the main loop.
class SignalCalls {
public:
    // Call this first in main, for threads inherit it: it holds SIGTERM, SIGINT and
    // SIGWINCH back for calls, and has broken pipes kill nobody.
    static void block();

    // Main thread. `handler` is called there for each of these signals that comes; they are among
    // those that block() holds back. Without a descriptor to spare they act as they always do.
    SignalCalls(std::initializer_list<int> signals, std::function<void()> handler);

private:
    UniqueFd fd_;
    std::unique_ptr<QSocketNotifier> notifier_; // goes before its descriptor
};

}
