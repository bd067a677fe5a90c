#pragma once

#include "platform/input_origins.h"

#include <cstdint>
#include <string>

// What a window hands on of the keyboard and the mouse, in the platform's own numbers.

namespace vossel {

// Bits of KeyEvent::modifierFlags and ModifierEvent::modifierFlags.
inline constexpr std::uint32_t commandKeyFlag = 1U << 20;

// Values of KeyEvent::keyCode.
inline constexpr std::uint16_t keyCodeEscape = 53;
inline constexpr std::uint16_t keyCodeLeftArrow = 123;
inline constexpr std::uint16_t keyCodeRightArrow = 124;
inline constexpr std::uint16_t keyCodeDownArrow = 125;
inline constexpr std::uint16_t keyCodeUpArrow = 126;

struct KeyEvent {
    std::uint16_t keyCode = 0;
    // What the key writes with no modifier but Shift; UTF-8, may be empty.
    std::string charactersIgnoringModifiers{};
    std::uint32_t modifierFlags = 0;
    EventSource source{};
};

// A modifier key went down or up.
struct ModifierEvent {
    std::uint32_t modifierFlags = 0; // after the change
};

struct MouseEvent {
    EventSource source{};
};

}
