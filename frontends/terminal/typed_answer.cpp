#include "frontends/terminal/typed_answer.h"

#include <algorithm>
#include <string.h>
#include <string_view>

namespace vossel {

namespace {

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

void appendUtf8(std::string& text, char32_t character)
{
    const auto tail
        = [&](int shift) { text += static_cast<char>(0x80 | ((character >> shift) & 0x3F)); };
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xC0 | (character >> 6));
        tail(0);
    } else if (character < 0x10000) {
        text += static_cast<char>(0xE0 | (character >> 12));
        tail(6);
        tail(0);
    } else {
        text += static_cast<char>(0xF0 | (character >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

}

TypedAnswer::~TypedAnswer()
{
    ::explicit_bzero(text_.data(), text_.capacity());
}

TypedAnswer::Step TypedAnswer::take(const TerminalKey& key)
{
    using Kind = TerminalKey::Kind;
    const bool plain = !key.control && !key.alt;
    if (key.kind == Kind::Return)
        return Step::Sent;
    if (key.kind == Kind::Escape)
        return Step::GivenUp;
    if (key.kind == Kind::Backspace && !text_.empty()) {
        while (isContinuation(text_.back()) && text_.size() > 1)
            text_.pop_back();
        text_.pop_back();
        return Step::Typing;
    }
    if (key.kind == Kind::Character && key.control && key.character == U'u') {
        text_.clear();
        return Step::Typing;
    }
    if (key.kind != Kind::Character || !plain || text_.size() + 4 > maxBytes)
        return Step::Refused;
    appendUtf8(text_, key.character);
    return Step::Typing;
}

std::string TypedAnswer::shown() const
{
    if (echo_)
        return text_;
    const auto characters = std::count_if(
        text_.begin(), text_.end(), [](char byte) { return !isContinuation(byte); });
    return std::string(static_cast<std::size_t>(characters), '*');
}

}
