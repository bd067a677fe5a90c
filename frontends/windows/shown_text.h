#pragma once

#include "foundation/glyphs.h"

#include <QString>

#include <string_view>
#include <vector>

namespace vossel {

// A text of anybody's choice as a window may show it: one line of plain text that reads from left
// to right, with what cannot be shown escaped. Any thread.
struct ShownText {
    struct Escape {
        qsizetype start = 0;
        qsizetype length = 0;
    };

    QString text;
    std::vector<Escape> escapes; // where the text is not the original's own
    // Where each glyph begins, and the text's length: it may be cut there and nowhere else.
    std::vector<qsizetype> cuts;
};

// Letters that run from right to left keep to their own word: nothing beside them moves.
[[nodiscard]] ShownText shownText(std::string_view bytes);

}
