#pragma once

#include "platform/clock.h"
#include "platform/input_origins.h"

#include <chrono>

namespace vossel {

// Where the window system keeps to itself who pressed a key: everything counts as the hardware's.
class UnknownOrigins final : public InputOrigins {
public:
    explicit UnknownOrigins(Clock& clock)
        : clock_(clock)
    {
    }

    [[nodiscard]] EventSource sourceOf(const Press&) override { return {}; }
    [[nodiscard]] Time now() override
    {
        return static_cast<Time>(
            std::chrono::duration_cast<std::chrono::milliseconds>(clock_.now().time_since_epoch())
                .count());
    }

private:
    Clock& clock_;
};

}
