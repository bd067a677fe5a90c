#pragma once

#include "agent/driver_link_interfaces.h"
#include "frontends/terminal/key_bindings.h"
#include "frontends/terminal/terminal_keys.h"

#include <string>

namespace vossel {

// What a terminal says of keys and of answers, in words.

// What was decided: "allowed, until restart". Empty for what was not shown.
[[nodiscard]] std::string outcomeSentence(
    const user_prompt_response& response, QueryWait::Outcome outcome);

// Why a key was answered by the alert sound only.
[[nodiscard]] const char* refusedKeySentence(
    const TerminalKey& key, const KeyBinding& binding, bool touchBarOnly);

}
