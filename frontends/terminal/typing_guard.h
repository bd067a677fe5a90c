#pragma once

#include "frontends/terminal/key_bindings.h"
#include "frontends/terminal/terminal_keys.h"
#include "platform/clock.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <vector>

namespace vossel {

// Tells a key that answers from one of a word that somebody types for another program: a person
// presses one key at a time, and rests before an answer. Main thread only.
class TypingGuard {
public:
    // How long nothing answers after a letter that means nothing here.
    static constexpr Clock::Duration restAfterLetter = std::chrono::milliseconds(500);

    // Whether keys that came together are a word, or were pasted.
    [[nodiscard]] static bool areText(const std::vector<TerminalKey>& keys)
    {
        return keys.size() > 1 && std::any_of(keys.begin(), keys.end(), isLetter);
    }

    // Whether a key at this time belongs to what is being typed.
    [[nodiscard]] bool isTyping(
        const TerminalKey& key, const KeyBinding& binding, Clock::Instant now)
    {
        const bool typing = lastLetter_ && now < *lastLetter_ + restAfterLetter;
        if (isLetter(key) && !binding.decides && binding.meaning == KeyBinding::Meaning::Press)
            lastLetter_ = now;
        return typing;
    }

private:
    [[nodiscard]] static bool isLetter(const TerminalKey& key)
    {
        return key.kind == TerminalKey::Kind::Character && !key.control && !key.alt;
    }

    std::optional<Clock::Instant> lastLetter_;
};

}
