#pragma once

#include "foundation/glyphs.h"

#include <cstddef>
#include <string>

namespace vossel {

// Glyphs cut to a width in columns. Any thread.

[[nodiscard]] std::size_t columnsOf(const Glyphs& glyphs);

// At most `columns` wide; what is left out is marked by "…" ("..." in Ascii), one glyph that is not
// `escaped`. Narrower than the mark: the start, as far as it fits.
[[nodiscard]] Glyphs elideMiddle(Glyphs glyphs, std::size_t columns, Charset charset);
[[nodiscard]] Glyphs elideTail(Glyphs glyphs, std::size_t columns, Charset charset);

// The end of the glyphs from `first` on that fit.
[[nodiscard]] Glyphs::const_iterator fitting(
    Glyphs::const_iterator first, Glyphs::const_iterator last, std::size_t columns);

[[nodiscard]] std::string joined(const Glyphs& glyphs);

}
