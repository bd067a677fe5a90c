#pragma once

#include "frontends/terminal/terminal_keys.h"
#include "ui/prompt/input_event.h"

#include <cstdint>

namespace vossel {

// What a key of a terminal stands for while a prompt stands. A terminal cannot send every key of a
// keyboard: Control and Alt both stand for Command, and plain letters for what else a mouse would
// do.
struct KeyBinding {
    enum class Act : std::uint8_t {
        Press, // the prompt's own keyboard takes it
        Operations, // the next kind of access
        Updates, // whether updates are covered
        Details, // from the simple prompt to the advanced one
        Help,
    };

    Act act = Act::Press;
    KeyEvent event{}; // of Act::Press
    bool decides = false; // Allow or Deny
};

// A capital A or D decides as well, for terminals that keep Alt-Return or Escape to themselves; no
// small letter does, so that a word typed by mistake does little harm.
[[nodiscard]] KeyBinding bindingOf(const TerminalKey& key);

}
