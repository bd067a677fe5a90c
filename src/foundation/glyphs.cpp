#include "foundation/glyphs.h"

#include "foundation/utf8.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <locale.h>
#include <utility>
#include <wchar.h>
#include <wctype.h>

namespace vossel {

namespace {

constexpr unsigned maxMarks = 4;

struct Range {
    char32_t first;
    char32_t last;
};

// Characters that the C library may give a width all the same.
constexpr Range neverShown[] = {
    {0x00, 0x1F}, {0x7F, 0x9F}, // control characters
    {0xAD, 0xAD}, {0x34F, 0x34F}, {0x115F, 0x1160}, {0x17B4, 0x17B5}, {0x180E, 0x180E},
    {0x3164, 0x3164}, {0xFFA0, 0xFFA0}, // nothing to see
    {0x61C, 0x61C}, {0x200B, 0x200F}, {0x2028, 0x202E}, {0x2060, 0x206F},
    {0xFEFF, 0xFEFF}, // lines, directions, no width
    {0xE000, 0xF8FF}, {0xF0000, 0x10FFFF}, // private use: whatever a font likes
    {0xE0000, 0xE0FFF}, // tags
};
constexpr Range variationSelectors[]
    = {{0x180B, 0x180D}, {0x180F, 0x180F}, {0xFE00, 0xFE0F}, {0xE0100, 0xE01EF}};
// The alphabets below, but for Mongolian, have no variants: a selector there only makes two names
// that look the same.
constexpr Range withVariants[] = {{0x1820, 0x18AA}, {0x2000, 0xDFFFF}};
// Hangul letters that stand in the column of the one that begins the syllable.
constexpr Range laterJamo[] = {{0x1161, 0x11FF}, {0xD7B0, 0xD7FB}};
constexpr Range leadingJamo[] = {{0x1100, 0x115E}, {0xA960, 0xA97C}};

template <std::size_t count>
bool isIn(const Range (&ranges)[count], char32_t character)
{
    return std::any_of(std::begin(ranges), std::end(ranges), [character](const Range& range) {
        return range.first <= character && character <= range.last;
    });
}

struct Characters {
    locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    wctype_t combining = locale ? ::wctype_l("combining", locale) : wctype_t{};
};

const Characters& characters()
{
    static const Characters known;
    return known;
}

// While it stands, the thread has a locale in which wcwidth(3) knows every character.
class Utf8Locale {
public:
    Utf8Locale()
        : previous_(::uselocale(characters().locale))
    {
    }
    ~Utf8Locale() { ::uselocale(previous_); }
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;

private:
    locale_t previous_;
};

bool isCombining(char32_t character)
{
    const Characters& known = characters();
    return known.combining
        && ::iswctype_l(static_cast<wint_t>(character), known.combining, known.locale) != 0;
}

std::string hex(std::uint32_t value)
{
    std::array<char, 8> digits = {};
    const auto end = std::to_chars(digits.begin(), digits.end(), value, 16).ptr;
    return {digits.begin(), end};
}

std::string byteEscape(unsigned char byte)
{
    switch (byte) {
    case '\n':
        return "\\n";
    case '\t':
        return "\\t";
    case '\r':
        return "\\r";
    case 0x1B:
        return "\\e";
    default:
        return (byte < 0x10 ? "\\x0" : "\\x") + hex(byte);
    }
}

class GlyphMaker {
public:
    GlyphMaker(Charset charset, std::size_t maxGlyphs)
        : charset_(characters().locale ? charset : Charset::Ascii)
    {
        glyphs_.reserve(maxGlyphs);
    }

    void add(char32_t character, std::string_view bytes)
    {
        if (character >= 0x20 && character < 0x7F) {
            addBase(character, bytes, 1);
            return;
        }
        const int width
            = charset_ == Charset::Ascii ? -1 : ::wcwidth(static_cast<wchar_t>(character));
        if (width == 0 && joins(character)) {
            glyphs_.back().bytes += bytes;
            ++marks_;
        } else if (width > 0 && !mustBeEscaped(character)) {
            addBase(character, bytes, static_cast<std::uint8_t>(width));
        } else {
            addEscape(character < 0x80 ? byteEscape(static_cast<unsigned char>(character))
                                       : "\\u{" + hex(character) + "}");
        }
    }
    void addEscape(std::string escape)
    {
        const auto columns = static_cast<std::uint8_t>(escape.size());
        glyphs_.push_back({std::move(escape), columns, true});
        base_ = 0;
    }
    Glyphs take() { return std::move(glyphs_); }

private:
    void addBase(char32_t character, std::string_view bytes, std::uint8_t columns)
    {
        glyphs_.push_back({std::string(bytes), columns, false});
        base_ = character;
        marks_ = 0;
    }
    [[nodiscard]] bool joins(char32_t character) const
    {
        if (base_ == 0 || marks_ == maxMarks)
            return false;
        if (isIn(variationSelectors, character))
            return isIn(withVariants, base_);
        if (isIn(neverShown, character))
            return false;
        return isIn(laterJamo, character) ? isIn(leadingJamo, base_) : isCombining(character);
    }
    // In some scripts a mark has a column of its own; it needs a character before it all the same.
    [[nodiscard]] bool mustBeEscaped(char32_t character) const
    {
        return isIn(neverShown, character) || (base_ == 0 && isCombining(character));
    }

    Charset charset_;
    Glyphs glyphs_;
    char32_t base_ = 0; // the character that marks may join; 0 when there is none
    unsigned marks_ = 0; // how many marks that character has
};

}

Glyphs toGlyphs(std::string_view text, Charset charset)
{
    const Utf8Locale locale;
    GlyphMaker maker(charset, text.size());
    while (!text.empty()) {
        const auto character = firstCharacter(text);
        const std::size_t length = character ? character->length : 1;
        if (character)
            maker.add(character->code, text.substr(0, length));
        else
            maker.addEscape(byteEscape(static_cast<unsigned char>(text.front())));
        text.remove_prefix(length);
    }
    return maker.take();
}

}
