#pragma once

#include <cstddef>
#include <cstdint>

// How records travel between agent and driver on Linux: packets over an AF_UNIX SOCK_SEQPACKET
// socket. docs/driver-protocol.md is the whole description.

namespace vossel {

enum PacketKind : std::uint32_t {
    PACKET_CALL = 1, // calls the method `selector` with the bytes that follow
    PACKET_SET_PORT = 2, // carries one descriptor: the driver's end of the notification pair
};

// Begins every packet from the agent to the driver.
struct CallHeader {
    std::uint32_t kind;
    std::uint32_t selector;
};
static_assert(sizeof(CallHeader) == 8);

// Begins every reply; the output bytes follow.
struct ReplyHeader {
    std::int32_t status; // 0: done
};
static_assert(sizeof(ReplyHeader) == 4);

inline constexpr std::size_t maxPacketSize = 8192;

}
