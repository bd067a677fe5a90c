#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vossel {

// What a terminal shows of bytes from anywhere. Nothing here depends on the process's locale; any
// thread.

enum class Charset : std::uint8_t { Utf8, Ascii };

// What is printed whole or not at all: a character with the marks on it, or an escape in its place.
struct Glyph {
    std::string bytes;
    std::uint8_t columns = 1; // 1 or 2; of an escape as many as it has characters
    bool escaped = false;

    bool operator==(const Glyph&) const = default;
};
using Glyphs = std::vector<Glyph>;

// What could steer the terminal, cannot be seen, reorders its surroundings or has no agreed look is
// escaped: `\n`, `\t`, `\r`, `\e`, `\x9b` for another control character of ASCII's or a byte that
// is no UTF-8, `\u{202e}` for a character. So are marks beyond the fourth on a character and marks
// without one; in Ascii everything but ASCII. A backslash of the text's own stays as it is and
// differs by `escaped` alone.
[[nodiscard]] Glyphs toGlyphs(std::string_view text, Charset charset);
[[nodiscard]] std::size_t columnsOf(const Glyphs& glyphs);

// At most `columns` wide; what is left out is marked by "…" ("..." in Ascii), one glyph that is not
// `escaped`. Narrower than the mark: the start, as far as it fits.
[[nodiscard]] Glyphs elideMiddle(Glyphs glyphs, std::size_t columns, Charset charset);
[[nodiscard]] Glyphs elideTail(Glyphs glyphs, std::size_t columns, Charset charset);

// Lines of at most `columns`, broken at spaces where possible (the space goes), else behind a "/"
// in a line's second half, else anywhere. The last of `mostLines` has all the rest, elided in its
// middle. A glyph wider than `columns` is elided. At least one line, unless `mostLines` is 0.
[[nodiscard]] std::vector<Glyphs> wrapText(
    const Glyphs& glyphs, std::size_t columns, std::size_t mostLines, Charset charset);

}
