#include "frontends/terminal/key_reports.h"

#include <cstdint>
#include <vector>

namespace vossel {

namespace {

using Kind = TerminalKey::Kind;

constexpr std::uint32_t escape = 0x1B;

// What modern terminals report beside a key, as a sum above 1.
constexpr std::uint32_t shiftHeld = 1;
constexpr std::uint32_t altHeld = 2;
constexpr std::uint32_t controlHeld = 4;
constexpr std::uint32_t locksOn = 64 + 128;
constexpr std::uint32_t released = 3;

// "97;5:1" is {{97}, {5, 1}}, a missing number 0. Empty when anything else stands there.
using Numbers = std::vector<std::vector<std::uint32_t>>;
std::optional<Numbers> numbersOf(std::string_view text)
{
    constexpr std::uint32_t largest = 0x10FFFF;
    Numbers numbers{{0}};
    for (const char character : text) {
        std::uint32_t& number = numbers.back().back();
        if (character == ';')
            numbers.push_back({0});
        else if (character == ':')
            numbers.back().push_back(0);
        else if (character >= '0' && character <= '9' && number <= largest)
            number = number * 10 + static_cast<std::uint32_t>(character - '0');
        else
            return std::nullopt;
    }
    return numbers;
}

// The key of the character that it writes, or that its single byte is.
TerminalKey keyOfCode(std::uint32_t code, std::uint32_t held)
{
    switch (code) {
    case '\r':
        return {Kind::Return};
    case escape:
        return {Kind::Escape};
    case '\b':
    case 0x7F:
        return {Kind::Backspace};
    case '\t':
        return {Kind::Character, U'i', true};
    default:
        break;
    }
    // Above the controls and beside the surrogates: keys without a character are in private use.
    if (code < 0x20 || (code >= 0x80 && code < 0xA0) || (code >= 0xD800 && code < 0xF900)
        || code > 0x10FFFF)
        return {};
    const bool lower = code >= 'a' && code <= 'z';
    const bool upper = code >= 'A' && code <= 'Z';
    if (upper && (held & controlHeld) != 0)
        code += 'a' - 'A';
    else if (lower && (held & (controlHeld | shiftHeld)) == shiftHeld)
        code -= 'a' - 'A';
    return {Kind::Character, code};
}

}

TerminalKey::Kind arrowOf(char letter)
{
    switch (letter) {
    case 'A':
        return Kind::Up;
    case 'B':
        return Kind::Down;
    case 'C':
        return Kind::Right;
    case 'D':
        return Kind::Left;
    default:
        return Kind::Other;
    }
}

std::optional<TerminalKey> keyOfReport(std::string_view parameters, char last)
{
    const auto numbers = numbersOf(parameters);
    if (!numbers)
        return TerminalKey{};
    const auto number = [&numbers](std::size_t index, std::size_t inner = 0) {
        const bool given = index < numbers->size() && inner < (*numbers)[index].size();
        return given ? (*numbers)[index][inner] : 0;
    };
    if (number(1, 1) == released)
        return std::nullopt;
    const std::uint32_t held = number(1) == 0 ? 0 : number(1) - 1;
    if ((held & ~(shiftHeld | altHeld | controlHeld | locksOn)) != 0)
        return TerminalKey{};
    TerminalKey key;
    if (last == 'u')
        key = keyOfCode(number(0), held);
    else if (last == '~' && number(0) == escape)
        key = keyOfCode(number(2), held);
    else if (number(0) <= 1)
        key.kind = arrowOf(last);
    if (key.kind == Kind::Other)
        return key;
    key.control = key.control || (held & controlHeld) != 0;
    key.alt = (held & altHeld) != 0;
    return key;
}

}
