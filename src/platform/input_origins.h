#pragma once

#include <cstdint>

namespace vossel {

// Which process composed an input event, and whose it is. 0 where the system does not say, and for
// what comes from the hardware.
struct EventSource {
    std::int32_t processId = 0;
    std::uint32_t userId = 0;

    bool operator==(const EventSource&) const = default;
};

// A program that nobody can name any more: gone, or behind a service that presses for others.
inline constexpr EventSource unnamedProgram{-1, 65534}; // neither number is 0

// Tells input that a program composed from what a person pressed. Main thread only.
class InputOrigins {
public:
    // Milliseconds of the window system's own clock, which starts anywhere and wraps around.
    using Time = std::uint32_t;

    enum class Kind : std::uint8_t { Key, Button };

    // A press as the window system reported it.
    struct Press {
        Kind kind = Kind::Key;
        std::uint32_t detail = 0; // the number of the key or of the button on the device
        Time time = 0;
    };

    virtual ~InputOrigins() = default;

    [[nodiscard]] virtual EventSource sourceOf(const Press& press) = 0;
    // Every press that is made from now on has this time or a later one.
    [[nodiscard]] virtual Time now() = 0;
};

}
