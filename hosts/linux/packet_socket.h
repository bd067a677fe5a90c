#pragma once

#include "foundation/files.h"

#include <sys/socket.h>
#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>

// Sockets of this machine: how the two ends of the driver's connection come about. Paths may be
// longer than an address holds. Each failure is a sentence that names the path.

namespace vossel {

// A listening packet socket at `path` that any user may connect to, its folder created where it is
// missing. A socket file that nobody answers on is replaced; one that somebody answers on, or
// anything else that lies there, is left alone. Does not block, nor do its connections.
Result<UniqueFd> listenAt(const std::string& path);
// Nothing when nobody has called.
[[nodiscard]] UniqueFd acceptConnection(int listener);

// A blocking packet socket that is connected to `path`. A listener whose queue is full is waited
// for as long as `bound`.
Result<UniqueFd> connectTo(const std::string& path, std::chrono::milliseconds bound);

// Two blocking sockets, connected to each other, of `type` SOCK_SEQPACKET or SOCK_STREAM; both
// empty where the system refuses, for which errno gives the reason.
[[nodiscard]] std::pair<UniqueFd, UniqueFd> socketPair(int type = SOCK_SEQPACKET);

// Whoever made the other end, by the kernel's word.
[[nodiscard]] std::optional<ucred> peerOf(int socket);
// Whether messages can be sent to somebody through this descriptor.
[[nodiscard]] bool isConnectedPacketSocket(int fd);

}
