#include "frontends/terminal/terminal_text.h"

#include <iterator>

namespace vossel {

namespace {

struct Line {
    Glyphs::const_iterator end;
    Glyphs::const_iterator next; // where the next one begins
};

// `end` is the first glyph that fits no more, behind at least one that does.
Line brokenLine(Glyphs::const_iterator begin, Glyphs::const_iterator end, std::size_t columns)
{
    for (auto space = end; space != begin; --space)
        if (space->bytes == " ")
            return {space, std::next(space)};
    std::size_t used = 0;
    auto behindSlash = end;
    for (auto glyph = begin; glyph != end; ++glyph) {
        used += glyph->columns;
        if (glyph->bytes == "/" && used > columns / 2)
            behindSlash = std::next(glyph);
    }
    return {behindSlash, behindSlash};
}

}

std::vector<Glyphs> wrapText(
    const Glyphs& glyphs, std::size_t columns, std::size_t maxLines, Charset charset)
{
    std::vector<Glyphs> lines;
    auto begin = glyphs.begin();
    while (lines.size() < maxLines && (begin != glyphs.end() || lines.empty())) {
        const auto end = fitting(begin, glyphs.end(), columns);
        if (end == glyphs.end() || lines.size() + 1 == maxLines || columns == 0) {
            lines.push_back(elideMiddle(Glyphs(begin, glyphs.end()), columns, charset));
            break;
        }
        const Line line = end == begin ? Line{std::next(begin), std::next(begin)}
                                       : brokenLine(begin, end, columns);
        lines.push_back(elideTail(Glyphs(begin, line.end), columns, charset));
        begin = line.next;
    }
    return lines;
}

}
