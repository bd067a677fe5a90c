#pragma once

#include "wire/driver_messages.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vossel {

// What a prompt hands over.
struct PromptDecision {
    std::int32_t decision = DECISION_DENY;
    // One of the path choices. Without one the response has the query's own path.
    std::optional<std::string> selectedPath;
    std::int64_t duration = DURATION_ONCE;
    std::int32_t processType = PROCESS_NONE;
    std::int32_t operations = 0;
    std::uint32_t pid = 0;
};

// The response that carries a decision; key and token are left zero. `query` is the prompt's edited
// copy.
[[nodiscard]] user_prompt_response buildResponse(
    const policy_query& query, const PromptDecision& decision);

}
