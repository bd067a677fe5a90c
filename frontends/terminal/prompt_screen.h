#pragma once

#include "frontends/terminal/screen_row.h"
#include "frontends/terminal/terminal_device.h"
#include "ui/prompt/prompt_view.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vossel {

// A question that is asked in the prompt's place for a while, a password mostly.
struct ShownQuestion {
    std::string text;
    std::string typed; // what may be shown of the answer
};

struct PromptScreenState {
    PromptView view;
    std::int64_t secondsLeft = 0;
    std::string message; // why a key did nothing; empty for none
    bool help = false; // the keys instead of the choices
    std::optional<ShownQuestion> question;
};

// The prompt as rows of a terminal of this size, never more and never wider than it. The sentence,
// who asks and how to answer stay longest where there is little room; all of it fits 80 by 24.
[[nodiscard]] Screen promptScreen(
    const PromptScreenState& state, TerminalSize size, Charset charset);

}
