#pragma once

#include "ui/prompt/input_event.h"
#include "ui/prompt/prompt_context.h"

#include <string_view>

namespace vossel {

// Whether an event of this source was composed by a program and must be dropped, so that no program
// answers a prompt in the user's place; the user is told then. `type` is "keypresses" or "mouse
// clicks". Root's input passes, and so does that of the account that serves input devices; the
// preference "ui.prompts.remote" lets everything pass and is read afresh for each event.
[[nodiscard]] bool refusesSyntheticInput(
    const PromptContext& context, const EventSource& source, std::string_view type);

}
