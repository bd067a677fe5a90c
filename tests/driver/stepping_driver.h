#pragma once

#include "driver/server/session_server.h"
#include "settings/directories.h"
#include "support/temporary_directory.h"
#include "test_agent.h"

namespace vossel::test {

// A driver's socket in a temporary layout, worked by hand: whoever waits lets it take one step.
class SteppingDriver {
public:
    // What is there now, without waiting.
    void step()
    {
        bool done = false;
        loop.run([&] {
            if (done)
                loop.quit(0);
            done = true;
            return EventLoop::Milliseconds(0);
        });
        if (afterStep)
            afterStep();
    }
    [[nodiscard]] TestAgent agent()
    {
        return TestAgent(path, [this] { step(); });
    }

    const TemporaryDirectory folder;
    const std::string path = Directories(folder.path()).driverSocket();
    EventLoop loop;
    SessionServer server{loop};
    std::function<void()> afterStep;
};

}
