#pragma once

#include "foundation/glyph_elision.h"

#include <cstddef>
#include <vector>

namespace vossel {

// How glyphs are laid out in a terminal's lines. Any thread.

// Lines of at most `columns`, broken at spaces where possible (the space goes), else behind a "/"
// in a line's second half, else anywhere. The last of `maxLines` has all the rest, elided in its
// middle. A glyph wider than `columns` is elided. At least one line, unless `maxLines` is 0.
[[nodiscard]] std::vector<Glyphs> wrapText(
    const Glyphs& glyphs, std::size_t columns, std::size_t maxLines, Charset charset);

}
