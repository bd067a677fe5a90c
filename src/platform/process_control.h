#pragma once

#include <functional>

namespace vossel {

// What the agent asks of the system for its own process.
class ProcessControl {
public:
    virtual ~ProcessControl() = default;

    // Has `handler` called, on a thread of the host's own, at each hang-up signal. An empty handler
    // lets the signal pass without effect.
    virtual void onHangUp(std::function<void()> handler) = 0;
    // Keeps debuggers of the same user from attaching, as far as the system can.
    virtual void denyDebuggers() = 0;
};

}
