#pragma once

#include "wire_json/record_json.h"

#include <cstdint>

namespace vossel {

struct PromptView;

// Everything that a person would see of a prompt, as scripts see it. `secondsLeft`: whole seconds
// in which it can still be answered.
[[nodiscard]] Json promptJson(const PromptView& view, std::int64_t secondsLeft);

}
