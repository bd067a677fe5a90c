#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vossel {

[[nodiscard]] bool isAscii(std::string_view bytes);

// Strict: no surrogates, no overlong forms, nothing above U+10FFFF.
[[nodiscard]] bool isValidUtf8(std::string_view bytes);

struct Utf8Character {
    char32_t code = 0;
    std::size_t length = 0; // in bytes
};
// The one that `bytes` begin with; empty for none.
[[nodiscard]] std::optional<Utf8Character> firstCharacter(std::string_view bytes);

// Each maximal invalid sequence becomes one U+FFFD (the practice that Unicode recommends, chapter
// 3.9); valid text comes back unchanged.
[[nodiscard]] std::string toValidUtf8(std::string_view bytes);

// Text in the encoding that system notices take their byte strings in; every byte has a character.
[[nodiscard]] std::string fromMacRoman(std::string_view bytes);

}
