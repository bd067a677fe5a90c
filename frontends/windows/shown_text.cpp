#include "frontends/windows/shown_text.h"

#include <algorithm>
#include <cctype>

namespace vossel {

namespace {

constexpr QChar leftToRightMark(0x200E);

bool runsLeftward(const Glyph& glyph)
{
    const QString text = QString::fromUtf8(glyph.bytes.data(), qsizetype(glyph.bytes.size()));
    return text.isRightToLeft();
}

bool isWordCharacter(const Glyph& glyph)
{
    if (glyph.escaped)
        return false;
    const auto first = static_cast<unsigned char>(glyph.bytes.front());
    return first >= 0x80 || std::isalnum(first) != 0;
}

}

ShownText shownText(std::string_view bytes)
{
    const Glyphs glyphs = toGlyphs(bytes, Charset::Utf8);
    const bool marked = std::any_of(glyphs.begin(), glyphs.end(), runsLeftward);
    ShownText shown;
    shown.cuts.reserve(glyphs.size() + 1);
    for (const Glyph& glyph : glyphs) {
        shown.cuts.push_back(shown.text.size());
        const QString text = QString::fromUtf8(glyph.bytes.data(), qsizetype(glyph.bytes.size()));
        if (glyph.escaped)
            shown.escapes.push_back({shown.text.size() + (marked ? 1 : 0), text.size()});
        // Between two marks, a separator or a number cannot change sides.
        if (marked && !isWordCharacter(glyph))
            shown.text += leftToRightMark + text + leftToRightMark;
        else
            shown.text += text;
    }
    shown.cuts.push_back(shown.text.size());
    return shown;
}

}
