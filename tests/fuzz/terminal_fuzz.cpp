#include "frontends/terminal/terminal_keys.h"
#include "frontends/terminal/terminal_text.h"
#include "require.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <locale.h>
#include <wchar.h>

// A terminal that sends anything, and texts of anything for it. The same keys come out however the
// bytes arrive; what is shown is printable, as wide as it claims, and says what the text was.

using namespace vossel;
using test::require;

namespace {

struct Parsed {
    std::vector<TerminalKey> keys;
    bool pending = false;

    bool operator==(const Parsed&) const = default;
};

enum class Pauses { None, BetweenPieces };

Parsed parse(std::string_view bytes, std::size_t piece, Pauses pauses = Pauses::None)
{
    KeyParser parser;
    Parsed parsed;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        parser.feed(bytes.substr(at, piece), parsed.keys);
        if (pauses == Pauses::BetweenPieces) {
            parser.flush(parsed.keys);
            require(!parser.isPending(), "something waits after the pause");
        }
    }
    parsed.pending = parser.isPending();
    return parsed;
}

void checkKeys(std::string_view bytes, std::size_t piece)
{
    const Parsed whole = parse(bytes, bytes.size() + 1);
    require(whole == parse(bytes, piece), "other keys in pieces");
    require(whole.keys.size() <= bytes.size(), "more keys than bytes");
    const auto interrupts = [](const Parsed& parsed) {
        return std::count(parsed.keys.begin(), parsed.keys.end(),
            TerminalKey{TerminalKey::Kind::Character, U'c', true});
    };
    // Only a paste holds some back, and none begins without this.
    if (bytes.find('~') == std::string_view::npos)
        require(interrupts(parse(bytes, piece, Pauses::BetweenPieces))
                >= std::count(bytes.begin(), bytes.end(), '\x03'),
            "a Ctrl-C is lost");
}

class Locale {
public:
    Locale()
        : previous_(::uselocale(utf8()))
    {
    }
    ~Locale() { ::uselocale(previous_); }
    Locale(const Locale&) = delete;
    Locale& operator=(const Locale&) = delete;

private:
    static locale_t utf8()
    {
        static const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        require(locale != nullptr, "no locale");
        return locale;
    }
    locale_t previous_;
};

// The columns by the C library; it must know and print all characters.
std::size_t widthOf(std::string_view bytes)
{
    const Locale locale;
    std::size_t width = 0;
    std::mbstate_t state = {};
    while (!bytes.empty()) {
        wchar_t character = 0;
        const std::size_t length = ::mbrtowc(&character, bytes.data(), bytes.size(), &state);
        require(length > 0 && length <= bytes.size(), "no UTF-8");
        const int columns = ::wcwidth(character);
        require(columns >= 0, "an unprintable character");
        width += static_cast<std::size_t>(columns);
        bytes.remove_prefix(length);
    }
    return width;
}

void appendUtf8(std::string& text, unsigned long code)
{
    const Locale locale;
    char bytes[16] = {};
    std::mbstate_t state = {};
    const std::size_t length = ::wcrtomb(bytes, static_cast<wchar_t>(code), &state);
    require(length <= 4, "an escape of no character");
    text.append(bytes, length);
}

// What the glyph stands for.
void appendMeaning(std::string& text, const Glyph& glyph)
{
    if (!glyph.escaped) {
        text += glyph.bytes;
        return;
    }
    require(glyph.bytes.size() >= 2 && glyph.bytes.front() == '\\', "no escape");
    switch (glyph.bytes[1]) {
    case 'x':
        text += static_cast<char>(std::strtoul(glyph.bytes.c_str() + 2, nullptr, 16));
        break;
    case 'u':
        appendUtf8(text, std::strtoul(glyph.bytes.c_str() + 3, nullptr, 16));
        break;
    default:
        text += std::string_view("\n\t\r\033")[std::string_view("ntre").find(glyph.bytes[1])];
    }
}

void checkGlyphs(const Glyphs& glyphs, Charset charset)
{
    for (const Glyph& glyph : glyphs) {
        require(widthOf(glyph.bytes) == glyph.columns, "another width");
        const bool ascii = std::all_of(glyph.bytes.begin(), glyph.bytes.end(),
            [](char byte) { return byte >= 0x20 && byte < 0x7F; });
        require(ascii || (charset == Charset::Utf8 && !glyph.escaped), "not ASCII");
        require(glyph.escaped ? glyph.columns == glyph.bytes.size() : glyph.bytes.size() <= 20,
            "a glyph too large");
    }
}

std::string plain(const Glyphs& glyphs)
{
    std::string text;
    for (const Glyph& glyph : glyphs)
        text += glyph.bytes;
    return text;
}

std::string withoutSpaces(std::string text)
{
    text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
    return text;
}

void checkElided(const Glyphs& glyphs, const Glyphs& elided, std::size_t columns)
{
    require(columnsOf(elided) <= columns, "wider than asked");
    if (columnsOf(glyphs) <= columns) {
        require(elided == glyphs, "changed without need");
        return;
    }
    const auto cut = std::mismatch(elided.begin(), elided.end(), glyphs.begin(), glyphs.end());
    if (cut.first == elided.end())
        return;
    const auto tail = elided.end() - cut.first - 1;
    require(tail >= 0 && std::equal(elided.end() - tail, elided.end(), glyphs.end() - tail),
        "not the text's own end");
}

void checkText(std::string_view text, std::size_t columns, std::size_t maxLines, Charset charset)
{
    const Glyphs glyphs = toGlyphs(text, charset);
    checkGlyphs(glyphs, charset);
    std::string meaning;
    for (const Glyph& glyph : glyphs)
        appendMeaning(meaning, glyph);
    require(meaning == text, "it says something else");

    checkElided(glyphs, elideMiddle(glyphs, columns, charset), columns);
    checkElided(glyphs, elideTail(glyphs, columns, charset), columns);

    const auto lines = wrapText(glyphs, columns, maxLines, charset);
    require(lines.size() <= maxLines && lines.empty() == (maxLines == 0), "too many lines");
    std::string wrapped;
    for (const Glyphs& line : lines) {
        require(columnsOf(line) <= columns, "a line wider than asked");
        checkGlyphs(line, charset);
        wrapped += plain(line);
    }
    constexpr std::size_t maxGlyph = 10;
    if (lines.size() < maxLines && columns >= maxGlyph)
        require(withoutSpaces(wrapped) == withoutSpaces(plain(glyphs)), "lost while wrapping");
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 3)
        return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 3, size - 3);
    checkKeys(bytes, data[0] + 1U);
    checkText(bytes, data[1], data[2], Charset::Utf8);
    checkText(bytes, data[1], data[2], Charset::Ascii);
    return 0;
}
