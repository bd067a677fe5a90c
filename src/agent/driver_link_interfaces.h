#pragma once

#include "prompting/query_wait.h"
#include "wire/driver_messages.h"

#include <cstddef>
#include <span>
#include <string>

// What the driver link asks of those above it.

namespace vossel {

// Learns of programs that the driver reports. Called on the driver-loop thread.
class AutodetectRoute {
public:
    virtual ~AutodetectRoute() = default;

    // `codesignInfo` is the driver's block as it came, maybe empty; valid during the call.
    virtual void autodetectRulesForPath(
        const std::string& path, std::span<const std::byte> withCodesignInfo)
        = 0;
};

// Learns of every response that was put to the driver, key and token included. Called on the
// query's thread while it still holds the prompt lock: one at a time, and before the next prompt.
class ResponseListener {
public:
    virtual ~ResponseListener() = default;

    // Waiting stands for a query that was answered without being shown.
    virtual void didDeliverResponse(
        const user_prompt_response& response, QueryWait::Outcome outcome)
        = 0;
};

}
