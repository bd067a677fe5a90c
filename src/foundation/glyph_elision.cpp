#include "foundation/glyph_elision.h"

#include <iterator>
#include <utility>

namespace vossel {

namespace {

Glyph elision(Charset charset)
{
    return charset == Charset::Utf8 ? Glyph{"…", 1, false} : Glyph{"...", 3, false};
}

template <class Iterator>
Iterator endOfFitting(Iterator first, Iterator last, std::size_t columns)
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
        glyphs.erase(endOfFitting(glyphs.begin(), glyphs.end(), columns), glyphs.end());
        return glyphs;
    }
    std::size_t room = columns - mark.columns;
    const auto head
        = endOfFitting(glyphs.begin(), glyphs.end(), kept == Kept::Ends ? room / 2 : room);
    auto tail = glyphs.end();
    if (kept == Kept::Ends) {
        for (auto glyph = glyphs.begin(); glyph != head; ++glyph)
            room -= glyph->columns;
        tail = endOfFitting(glyphs.rbegin(), glyphs.rend(), room).base();
    }
    *head = mark;
    glyphs.erase(std::next(head), tail);
    return glyphs;
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

Glyphs::const_iterator fitting(
    Glyphs::const_iterator first, Glyphs::const_iterator last, std::size_t columns)
{
    return endOfFitting(first, last, columns);
}

std::string joined(const Glyphs& glyphs)
{
    std::string text;
    for (const Glyph& glyph : glyphs)
        text += glyph.bytes;
    return text;
}

}
