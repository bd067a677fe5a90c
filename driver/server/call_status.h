#pragma once

#include <cstdint>

namespace vossel {

// What a call is answered with. The agent only tells 0 from the rest; people who write an agent
// read the others (docs/driver-protocol.md).
enum CallStatus : std::int32_t {
    CALL_DONE = 0,
    CALL_NOT_FILTERING = 1, // METHOD_FILTER_STATUS only
    CALL_BAD_REQUEST = 2, // a kind, selector, size or number of descriptors that does not exist
    CALL_NO_SESSION = 3, // METHOD_OPEN_SESSION comes first
    CALL_BAD_KEY = 4,
    CALL_NOT_PERMITTED = 5, // not for this user
    CALL_NO_QUERY = 6, // no such query waits for this agent's answer
    CALL_BAD_PORT = 7, // the descriptor is no packet socket
    CALL_FAILED = 8, // the system refused
};

}
