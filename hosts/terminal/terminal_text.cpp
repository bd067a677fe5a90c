#include "hosts/terminal/terminal_text.h"

#include <iterator>
#include <utility>

namespace vossel {

namespace {

Glyph elision(Charset charset)
{
    return charset == Charset::Utf8 ? Glyph{"…", 1, false} : Glyph{"...", 3, false};
}

// The end of the glyphs from `first` on that fit.
template <class Iterator>
Iterator fitting(Iterator first, Iterator last, std::size_t columns)
{
    while (first != last && first->columns <= columns) {
        columns -= first->columns;
        ++first;
    }
    return first;
}

enum class Kept { Head, Ends };

Glyphs elide(Glyphs glyphs, std::size_t columns, Charset charset, Kept kept)
{
    if (columnsOf(glyphs) <= columns)
        return glyphs;
    const Glyph mark = elision(charset);
    if (columns < mark.columns) {
        glyphs.erase(fitting(glyphs.begin(), glyphs.end(), columns), glyphs.end());
        return glyphs;
    }
    std::size_t room = columns - mark.columns;
    const auto head = fitting(glyphs.begin(), glyphs.end(), kept == Kept::Ends ? room / 2 : room);
    auto tail = glyphs.end();
    if (kept == Kept::Ends) {
        for (auto glyph = glyphs.begin(); glyph != head; ++glyph)
            room -= glyph->columns;
        tail = fitting(glyphs.rbegin(), glyphs.rend(), room).base();
    }
    *head = mark;
    glyphs.erase(std::next(head), tail);
    return glyphs;
}

struct Line {
    Glyphs::const_iterator end;
    Glyphs::const_iterator next; // where the next one begins
};

// `end`: the first glyph that fits no more, behind at least one that does.
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

std::size_t columnsOf(const Glyphs& glyphs)
{
    std::size_t columns = 0;
    for (const Glyph& glyph : glyphs)
        columns += glyph.columns;
    return columns;
}

Glyphs elideMiddle(Glyphs glyphs, std::size_t columns, Charset charset)
{
    return elide(std::move(glyphs), columns, charset, Kept::Ends);
}

Glyphs elideTail(Glyphs glyphs, std::size_t columns, Charset charset)
{
    return elide(std::move(glyphs), columns, charset, Kept::Head);
}

std::vector<Glyphs> wrapText(
    const Glyphs& glyphs, std::size_t columns, std::size_t mostLines, Charset charset)
{
    std::vector<Glyphs> lines;
    auto begin = glyphs.begin();
    while (lines.size() < mostLines && (begin != glyphs.end() || lines.empty())) {
        const auto end = fitting(begin, glyphs.end(), columns);
        if (end == glyphs.end() || lines.size() + 1 == mostLines || columns == 0) {
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
