#pragma once

#include "foundation/files.h"
#include "wire/driver_transport.h"

#include <cstddef>
#include <initializer_list>
#include <span>
#include <vector>

// One message on a socket, with the descriptors that travel along: the only code that sends or
// receives one, for the agent and for the driver. Nothing here blocks or raises a signal.

namespace vossel {

// What a look at a packet socket found. Descriptors that nobody takes are closed with it.
struct Packet {
    enum class State {
        Whole,
        Malformed, // longer than any packet may be, or with more descriptors than fit
        Nothing, // none is there
        End, // the other side sends nothing more, and all that it sent has been received
    };

    State state = State::Nothing;
    std::vector<std::byte> bytes;
    std::vector<UniqueFd> descriptors;
    int error = 0; // errno where the socket failed, which is an End
};

// `socket` is a packet socket.
[[nodiscard]] Packet receivePacket(int socket);

enum class Sent {
    Yes,
    Full, // the socket takes nothing now
    Gone, // the other side receives nothing any more; or a stream took a part only
};

// Sends the pieces as one message, without copying them, and a copy of `descriptor` where there is
// one. Unless this succeeds, errno tells why.
using Pieces = std::initializer_list<std::span<const std::byte>>;
[[nodiscard]] Sent sendPacket(int socket, Pieces pieces, int descriptor = -1);

}
