#include "frontends/terminal/key_bindings.h"

#include <string>

namespace vossel {

namespace {

// Stands for every key without a meaning of its own; no key that means something has this number.
constexpr std::uint16_t anyOtherKey = 0xFFFF;

KeyBinding press(std::uint16_t keyCode, std::string characters, bool command, bool decides = false)
{
    KeyBinding binding;
    binding.event = {keyCode, std::move(characters), command ? commandKeyFlag : 0, {}};
    binding.decides = decides;
    return binding;
}

KeyBinding act(PromptAct::Kind kind)
{
    KeyBinding binding;
    binding.meaning = KeyBinding::Meaning::Act;
    binding.act.kind = kind;
    return binding;
}

KeyBinding help()
{
    KeyBinding binding;
    binding.meaning = KeyBinding::Meaning::Help;
    return binding;
}

KeyBinding letter(const TerminalKey& key, bool command)
{
    if (!command) {
        switch (key.character) {
        case U'A':
            return press(anyOtherKey, "\r", true, true);
        case U'D':
            return press(keyCodeEscape, {}, false, true);
        case U'p':
            return act(PromptAct::Kind::Operations);
        case U'u':
            return act(PromptAct::Kind::Updates);
        case U'v':
            return act(PromptAct::Kind::Advanced);
        case U'?':
            return help();
        default:
            break;
        }
    }
    // The keyboard's commands are ASCII. What a terminal writes as a control character is none.
    const bool isText = key.character >= 0x20 && key.character < 0x7F;
    return press(
        anyOtherKey, isText ? std::string(1, static_cast<char>(key.character)) : "", command);
}

}

KeyBinding bindingOf(const TerminalKey& key)
{
    const bool command = key.control || key.alt;
    switch (key.kind) {
    case TerminalKey::Kind::Character:
        return letter(key, command);
    case TerminalKey::Kind::Return:
        return press(anyOtherKey, "\r", command, command);
    case TerminalKey::Kind::Escape:
        return press(keyCodeEscape, {}, command, !command);
    case TerminalKey::Kind::Left:
        return press(keyCodeLeftArrow, {}, command);
    case TerminalKey::Kind::Right:
        return press(keyCodeRightArrow, {}, command);
    case TerminalKey::Kind::Up:
        return press(keyCodeUpArrow, {}, command);
    case TerminalKey::Kind::Down:
        return press(keyCodeDownArrow, {}, command);
    case TerminalKey::Kind::Backspace:
    case TerminalKey::Kind::Pasted:
    case TerminalKey::Kind::Other:
        break;
    }
    return press(anyOtherKey, {}, command);
}

}
