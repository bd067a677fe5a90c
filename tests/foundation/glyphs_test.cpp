#include "foundation/glyphs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace vossel {
namespace {

using namespace std::string_literals;

// The glyphs between bars; an escape's is followed by "!", its width stands behind one that has
// two columns without being an escape.
std::string told(const Glyphs& glyphs)
{
    std::string text;
    for (const Glyph& glyph : glyphs) {
        text += (text.empty() ? "" : "|") + glyph.bytes;
        if (glyph.escaped)
            text += glyph.columns == glyph.bytes.size() ? "!" : "?";
        else if (glyph.columns == 2)
            text += "2";
    }
    return text;
}

TEST(GlyphsTest, EscapeWhatMustNotBeShown)
{
    ASSERT_EQ(MB_CUR_MAX, 1u) << "the process knows no UTF-8";
    const std::pair<std::string, std::string> rows[] = {
        {"a b\\n", "a| |b|\\|n"}, {"\n\t\r\033\x7f\x01\0"s, R"(\n!|\t!|\r!|\e!|\x7f!|\x01!|\x00!)"},
        {"\x9b\xff\xe2\x82(\xed\xa0\x80", R"(\x9b!|\xff!|\xe2!|\x82!|(|\xed!|\xa0!|\x80!)"},
        {"é世😀\n\u0301", "é|世2|😀2|\\n!|\\u{301}!"},
        {"\u0301e\u0301\u0323", "\\u{301}!|e\u0301\u0323"},
        {"e\u0301\u0301\u0301\u0301\u0301\u0301", "e\u0301\u0301\u0301\u0301|\\u{301}!|\\u{301}!"},
        {"\u093eक\u093e\u0902", "\\u{93e}!|क|\u093e\u0902"}, // a mark with a column of its own
        {"\u1112\u1161\u11ab\u1161a\u1161", "\u1112\u1161\u11ab\u11612|a|\\u{1161}!"}, // a syllable
        {"☺\ufe0fa\ufe0f", "☺\ufe0f|a|\\u{fe0f}!"}, // the last looks like "a"
    };
    for (const auto& [text, expected] : rows)
        EXPECT_EQ(told(toGlyphs(text, Charset::Utf8)), expected) << testing::PrintToString(text);
    for (const std::string character : {"\u0085", "\u061c", "\u200e", "\u202e", "\u2066", "\u2028",
             "\u034f", "\u00ad", "\u115f", "\u1160", "\u3164", "\uffa0", "\u180e", "\u17b4",
             "\u200b", "\u200d", "\u2060", "\ufeff", "\ufff9", "\U000e0041", "\ue000", "\ufdd0",
             "\ufffe", "\U0001ffff", "\U0010ffff", "\u0378"}) {
        const Glyphs glyphs = toGlyphs("a" + character, Charset::Utf8);
        ASSERT_EQ(glyphs.size(), 2u) << character;
        EXPECT_THAT(glyphs[1].bytes, testing::MatchesRegex(R"(\\u\{[0-9a-f]+\})"));
        EXPECT_TRUE(glyphs[1].escaped);
    }
    EXPECT_EQ(told(toGlyphs("é\n\xff~", Charset::Ascii)), R"(\u{e9}!|\n!|\xff!|~)");
}

}
}
