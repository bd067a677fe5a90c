#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vossel {

// Turns bytes from any source into characters that are safe to show. Nothing here depends on the
// process's locale; any thread.

enum class Charset : std::uint8_t { Utf8, Ascii };

// What is shown whole or not at all: a character with the marks on it, or an escape in its place.
struct Glyph {
    std::string bytes;
    std::uint8_t columns = 1; // on a terminal: 1 or 2; of an escape as many as it has characters
    bool escaped = false;

    bool operator==(const Glyph&) const = default;
};
using Glyphs = std::vector<Glyph>;

// What could steer a terminal, cannot be seen, reorders its surroundings or has no agreed look is
// escaped: `\n`, `\t`, `\r`, `\e`, `\x9b` for another control character of ASCII's or a byte that
// is no UTF-8, `\u{202e}` for a character. So are marks beyond the fourth on a character and marks
// without one; in Ascii everything but ASCII. A backslash of the text's own stays as it is and
// differs by `escaped` alone.
[[nodiscard]] Glyphs toGlyphs(std::string_view text, Charset charset);

}
