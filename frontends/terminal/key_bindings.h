#pragma once

#include "frontends/terminal/terminal_keys.h"
#include "ui/prompt/input_event.h"
#include "ui/prompt/prompt_act.h"

#include <cstdint>

namespace vossel {

// What a key of a terminal stands for while a prompt stands. A terminal cannot send every key of a
// keyboard: Control and Alt both stand for Command, and plain letters for what else a mouse would
// do.
struct KeyBinding {
    enum class Meaning : std::uint8_t {
        Press, // the prompt's own keyboard takes it
        Act, // what else a mouse would do
        Help,
    };

    Meaning meaning = Meaning::Press;
    KeyEvent event{}; // of Meaning::Press
    PromptAct act{}; // of Meaning::Act; Updates stands for the other state of what is covered
    bool decides = false; // Allow or Deny
};

// A capital A or D decides as well, for terminals that keep Alt-Return or Escape to themselves; no
// small letter does, so that a word typed by mistake does little harm.
[[nodiscard]] KeyBinding bindingOf(const TerminalKey& key);

}
