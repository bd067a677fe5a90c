#pragma once

#include "driver/session_server.h"
#include "settings/directories.h"
#include "support/temporary_directory.h"
#include "test_agent.h"

#include <stdexcept>

namespace vossel::test {

// A driver's socket in a temporary layout, worked by hand: whoever waits lets it take one step.
class SteppingDriver {
public:
    void listen(SessionHandler& handler)
    {
        if (const Result<bool> listening = server.listen(path(), handler); !listening)
            throw std::runtime_error(listening.reason());
    }
    [[nodiscard]] std::string path() const { return Directories(folder_.path()).driverSocket(); }
    [[nodiscard]] const std::string& folder() const { return folder_.path(); }
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
        return TestAgent(path(), [this] { step(); });
    }

    std::function<void()> afterStep;

private:
    TemporaryDirectory folder_;

public:
    EventLoop loop;
    SessionServer server{loop};
};

}
