#pragma once

#include "agent/driver_link_interfaces.h"
#include "frontends/terminal/key_bindings.h"
#include "frontends/terminal/terminal_keys.h"

#include <cstdint>
#include <string>

namespace vossel {

// What a terminal says of keys and of answers, in words.

// What was decided: "allowed, until restart". Empty for what was not shown.
[[nodiscard]] std::string outcomeSentence(
    const user_prompt_response& response, QueryWait::Outcome outcome);

// A duration in the middle of a sentence: "until restart". Empty for a code that is none.
[[nodiscard]] std::string durationPhrase(std::int32_t code);

// Why a key was answered by the alert sound only.
[[nodiscard]] const char* refusedKeySentence(
    const TerminalKey& key, const KeyBinding& binding, bool touchBarOnly);

}
