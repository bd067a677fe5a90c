#include "literal_rules.h"
#include "random_rules.h"

#include <gtest/gtest.h>

namespace vossel {
namespace {

using Texts = std::vector<std::string>;

TEST(RulesScanner, CutsALineIntoFields)
{
    const struct {
        std::string_view line;
        Texts fields;
        bool quoteOpen = false;
    } rows[] = {
        {"", {}},
        {"   ", {}},
        {"  a  b ", {"a", "b"}},
        {"a\tb \"c\td\"", {"a\tb", "c\td"}},
        {"\" a  b \" \"c\"", {" a  b ", "c"}},
        {"\"a\" \"\" \"b\"", {"a", "", "b"}},
        {"a\"b c\"d\"\"e", {"a", "b c", "d", "", "e"}},
        {"a\\\"b\\\" c", {"a\\", "b\\", "c"}},
        {"allow path \"two words", {"allow", "path", "words"}, true},
        {"a \"b ", {"a"}, true},
        {"a \"", {"a"}, true},
        {"a \"b", {"a", "b"}, true},
        {" ;x \xC2\xA0 \xE3\x80\x80y", {";x", "\xC2\xA0", "\xE3\x80\x80y"}},
    };
    for (const auto& [line, fields, quoteOpen] : rows) {
        EXPECT_EQ(scanString(line), fields) << line;
        EXPECT_EQ(test::literalFields(line), fields) << line;
        EXPECT_EQ(cutFields(line).quoteOpen, quoteOpen) << line;
        EXPECT_EQ(cutFields(line).count, fields.size()) << line;
    }
}

TEST(RulesScanner, CutsAnyLineAsTheLiteralRulesDo)
{
    test::Choices choices;
    for (int i = 0; i < 30'000; ++i) {
        std::string line;
        for (auto left = choices.below(14); left > 0; --left)
            line += choices.of(std::string_view("  \"\"ab\t;\xC3"));
        ASSERT_EQ(scanString(line), test::literalFields(line)) << line;
    }
}

Texts linesOf(std::string_view text)
{
    Texts lines;
    RuleLines rest(text);
    for (std::string_view line; rest.next(line);)
        lines.emplace_back(line);
    return lines;
}

TEST(RulesScanner, CutsATextIntoLines)
{
    EXPECT_EQ(linesOf(""), Texts{""});
    EXPECT_EQ(linesOf("a\r\nb\n"), (Texts{"a", "", "b", ""}));
    EXPECT_EQ(linesOf("\v\f\xC2\x85x\xE2\x80\xA8\xE2\x80\xA9 \x1C\x1D\xC2\x84\xE2\x80\xA7"),
        (Texts{"", "", "", "x", "", " \x1C\x1D\xC2\x84\xE2\x80\xA7"}));

    // Pieces of breaks, invalid sequences, and runs around what is looked at in one go.
    const std::array<std::string, 15> pieces
        = {"\n", "\n", "\v", "\f", "\r", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9", "\xC2",
            "\xE2\x80", "\x85", "\xE2", "a", std::string(63, 'b'), "\x0E\t"};
    test::Choices choices;
    for (int i = 0; i < 1'500; ++i) {
        std::string text;
        for (auto left = choices.below(40); left > 0; --left)
            text += choices.of(pieces);
        if (i % 50 == 0)
            text.insert(choices.below(text.size() + 1), 65'536 - choices.below(80), 'c');
        ASSERT_EQ(linesOf(text), test::literalLines(text));
    }
}

}
}
