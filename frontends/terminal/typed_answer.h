#pragma once

#include "frontends/terminal/terminal_keys.h"

#include <string>

namespace vossel {

// The answer to a question while it is being typed. What it held is wiped when it goes.
class TypedAnswer {
public:
    enum class Step { Typing, Refused, Sent, GivenUp };

    static constexpr std::size_t maxBytes = 512;

    explicit TypedAnswer(bool echo)
        : echo_(echo)
    {
        text_.reserve(maxBytes); // it must not leave copies behind by growing
    }
    ~TypedAnswer();
    TypedAnswer(const TypedAnswer&) = delete;
    TypedAnswer& operator=(const TypedAnswer&) = delete;

    // Return sends, Escape gives up, Backspace takes the last character away, Control-U all of
    // them.
    Step take(const TerminalKey& key);
    [[nodiscard]] const std::string& text() const { return text_; }
    // What may be seen of it: stars, where it must not be read.
    [[nodiscard]] std::string shown() const;

private:
    const bool echo_;
    std::string text_; // UTF-8
};

}
