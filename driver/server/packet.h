#pragma once

#include "foundation/files.h"
#include "wire/driver_transport.h"

#include <cstddef>
#include <span>
#include <vector>

namespace vossel {

// One packet as it came from an agent, with every descriptor that came along; those that nobody
// takes are closed with it.
struct Packet {
    enum class State {
        Whole,
        Malformed, // longer than any packet may be, or with more descriptors than fit
        Nothing, // none is there
        End, // the other side has gone
    };

    State state = State::Nothing;
    std::vector<std::byte> bytes;
    std::vector<UniqueFd> descriptors;
};

// Never blocks.
[[nodiscard]] Packet receivePacket(int socket);

enum class Sent { Yes, Full, Gone };

// Never blocks and raises no signal.
[[nodiscard]] Sent sendPacket(int socket, std::span<const std::byte> bytes);

}
