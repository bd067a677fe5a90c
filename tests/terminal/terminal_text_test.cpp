#include "frontends/terminal/terminal_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace vossel {
namespace {

using namespace std::string_literals;
using testing::ElementsAreArray;

std::string plain(const Glyphs& glyphs)
{
    std::string text;
    for (const Glyph& glyph : glyphs)
        text += glyph.bytes;
    return text;
}

TEST(TerminalTextTest, ElidesWhatIsTooWide)
{
    struct Row {
        const char* text;
        std::size_t columns;
        Charset charset;
        const char* middle;
        const char* tail;
    };
    const Row rows[] = {{"abcdefgh", 8, Charset::Utf8, "abcdefgh", "abcdefgh"},
        {"abcdefgh", 6, Charset::Utf8, "ab…fgh", "abcde…"},
        {"abcdefgh", 1, Charset::Utf8, "…", "…"}, {"abcdefgh", 0, Charset::Utf8, "", ""},
        {"abcdefgh", 6, Charset::Ascii, "a...gh", "abc..."},
        {"abcdefgh", 2, Charset::Ascii, "ab", "ab"},
        {"世世世世", 7, Charset::Utf8, "世…世世", "世世世…"},
        {"世世世世", 6, Charset::Utf8, "世…世", "世世…"},
        {"a\nb\nc\nd", 6, Charset::Utf8, "a…c\\nd", "a\\nb…"},
        {"\u202e\u202e", 9, Charset::Utf8, "…\\u{202e}", "\\u{202e}…"}};
    for (const Row& row : rows) {
        const Glyphs glyphs = toGlyphs(row.text, row.charset);
        EXPECT_EQ(plain(elideMiddle(glyphs, row.columns, row.charset)), row.middle) << row.columns;
        EXPECT_EQ(plain(elideTail(glyphs, row.columns, row.charset)), row.tail) << row.columns;
    }
}

TEST(TerminalTextTest, Wraps)
{
    struct Row {
        const char* text;
        std::size_t columns;
        std::size_t maxLines;
        std::vector<std::string> lines;
    };
    const Row rows[] = {{"one two three", 9, 3, {"one two", "three"}},
        {"one two three", 7, 3, {"one two", "three"}}, {"one  two ", 4, 9, {"one ", "two "}},
        {"/home/me/files/a", 10, 3, {"/home/me/", "files/a"}},
        {"/abcdefghijklm", 10, 3, {"/abcdefghi", "jklm"}},
        {"see /home/me/files/last.txt", 10, 3, {"see", "/home/me/", "file…t.txt"}},
        {"世世世", 3, 9, {"世", "世", "世"}}, {"a\nb", 1, 9, {"a", "…", "b"}}, {"abc", 0, 9, {""}},
        {"", 5, 9, {""}}, {"abc", 5, 0, {}}};
    for (const Row& row : rows) {
        std::vector<std::string> lines;
        for (const Glyphs& line :
            wrapText(toGlyphs(row.text, Charset::Utf8), row.columns, row.maxLines, Charset::Utf8))
            lines.push_back(plain(line));
        EXPECT_THAT(lines, ElementsAreArray(row.lines)) << row.text;
    }
}

}
}
