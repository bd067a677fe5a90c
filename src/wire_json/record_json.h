#pragma once

#include "wire/driver_messages.h"

#include <nlohmann/json.hpp>

namespace vossel {

using Json = nlohmann::ordered_json;

// The fields of a response under their own names, in the order that scripts see them: duration,
// decision, code, pathType, process, constraint_type, path, user_data, skey (lower-case hex),
// operations, security_token, pid. Bytes that are not valid UTF-8 appear as U+FFFD.
[[nodiscard]] Json responseJson(const user_prompt_response& response);

}
