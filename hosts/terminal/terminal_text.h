#pragma once

#include "foundation/glyphs.h"

#include <cstddef>
#include <vector>

namespace vossel {

// How glyphs are laid out in a terminal's columns. Any thread.

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
