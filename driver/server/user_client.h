#pragma once

#include "driver/server/session_key.h"
#include "foundation/files.h"

#include <sys/types.h>

#include <cstdint>
#include <optional>

namespace vossel {

// One connection of an agent. Owned by SessionServer.
struct UserClient {
    std::uint64_t number = 0; // never used twice
    // Who connected, by the kernel's word.
    pid_t pid = 0;
    uid_t uid = 0;
    UniqueFd connection;
    std::optional<SessionKey> key; // the one issued last
    UniqueFd port; // kept when released: its end would look like a lost driver
    bool receives = false; // whether notifications may go to the port
    std::uint64_t portOrder = 0; // a port registered later has a higher one
};

}
