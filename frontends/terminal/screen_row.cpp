#include "frontends/terminal/screen_row.h"

namespace vossel {

ScreenRow& ScreenRow::add(const Glyphs& glyphs, Style style)
{
    for (const Glyph& glyph : glyphs) {
        if (glyph.columns > room())
            break;
        append(glyph.bytes, glyph.columns, glyph.escaped ? Style::Escape : style);
    }
    return *this;
}

ScreenRow& ScreenRow::add(std::string_view text, Style style)
{
    const std::string_view shown = text.substr(0, room());
    append(shown, shown.size(), style);
    return *this;
}

ScreenRow& ScreenRow::padTo(std::size_t column, Style style)
{
    return columns_ < column ? add(std::string(column - columns_, ' '), style) : *this;
}

void ScreenRow::append(std::string_view text, std::size_t columns, Style style)
{
    if (text.empty())
        return;
    if (spans_.empty() || spans_.back().style != style)
        spans_.push_back({std::string(), style});
    spans_.back().text += text;
    columns_ += columns;
}

}
