#include "foundation/text_search.h"

#include <gtest/gtest.h>

#include <random>

namespace vossel {
namespace {

using namespace std::string_literals;

TEST(TextSearch, FindsWhatAPersonTakesForTheSame)
{
    enum Where { Nowhere, Everywhere, NotInTurkish, OnlyInTurkish };
    const struct {
        std::string needle, text;
        Where where;
    } rows[] = {{"", "", Everywhere}, {"a", "", Nowhere}, {"LOG/", "/var/log", Nowhere},
        {"LOG", "/var/log", Everywhere},

        {"/application SUP", "/Library/Application Support", Everywhere},
        {"aab", "/some/where/aaab", Everywhere}, {"b\0c"s, "a long text with a B\0C"s, Everywhere},
        // Neighbours of the letters that differ from them in the same bit.
        {"@[", "`{ and more text", Nowhere}, {"`{", "@[ and more text", Nowhere},
        // Accents, composed and not
        {"É", "caf\u00E9", Everywhere}, {"\u00E9", "CAFE\u0301", Everywhere},
        {"e", "caf\u00E9", Nowhere}, {"e", "cafe\u0301", Nowhere}, {"x", "x\u0302", Nowhere},
        {"x", "x\u0302 x", Everywhere}, {"a\u0323\u0302", "A\u0302\u0323", Everywhere},
        {"\u1EA1", "a\u0302\u0323", Nowhere}, {"\U0001D15E", "\U0001D15E\U0001D165", Nowhere},
        // One character for several, and others that fold to ASCII
        {"straße", "STRASSE", Everywhere}, {"kessse", "\u212AE\u017FßE", Everywhere},
        {"ﬂat", "a FLAT", Everywhere}, {"\u212Ae\u017F", "a kES", Everywhere},
        {"ΟΔΟΣ", "οδος", Everywhere}, {"\u1FB4", "\u03B1\u0345\u0301", Everywhere},
        {"\u1FB3", "\u0391\u0399", Everywhere}, {"가", "각", Nowhere},
        // The dots of i; İ is an i with a dot of its own elsewhere.
        {"I", "files and more", NotInTurkish}, {"i", "FILE ä", NotInTurkish},
        {"\u0131", "AN I", OnlyInTurkish}, {"I", "\u0131", OnlyInTurkish},
        {"i", "\u0130", OnlyInTurkish}, {"i", "I\u0323\u0307", Nowhere},
        {"\u0130", "as i", OnlyInTurkish}, {"\u0130", "I\u0307", Everywhere},
        {"\u0130", "an I", Nowhere}, {"\u1ECB", "I\u0323\u0307", OnlyInTurkish},
        // Invalid bytes, one U+FFFD for each part of a character
        {"\uFFFD|", "a\xF0\x9F|", Everywhere}, {"\uFFFD\uFFFD", "\xF0\x9F|", Nowhere},
        {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD", Everywhere}, {"A\xFF", "a", Nowhere}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.needle + " in " + row.text));
        EXPECT_EQ(TextSearch(row.needle, "root").foundIn(row.text),
            row.where == Everywhere || row.where == NotInTurkish);
        for (const auto* locale : {"tr", "az_Latn_AZ"})
            EXPECT_EQ(TextSearch(row.needle, locale).foundIn(row.text),
                row.where == Everywhere || row.where == OnlyInTurkish);
    }
}

TEST(TextSearch, FindsTheSameInAsciiAsInOtherText)
{
    std::minstd_rand random(7);
    const auto text = [&random](std::size_t longest) {
        std::string made(random() % (longest + 1), ' ');
        for (auto& byte : made)
            byte = "aAiI/"[random() % 5];
        return made;
    };
    for (int round = 0; round < 5000; ++round) {
        const auto needle = text(5);
        const TextSearch search(needle, round % 2 == 0 ? "root" : "tr");
        for (const auto& ascii : {text(40), text(10)})
            EXPECT_EQ(search.foundIn(ascii), search.foundIn(ascii + "中"))
                << needle << '|' << ascii;
    }
}

TEST(CaseFolded, IsTheSameInEveryCase)
{
    const std::pair<std::string, std::string> rows[]
        = {{"", ""}, {"@AZ[`az{\0"s, "@az[`az{\0"s}, {"Straße ŞİΣς", "strasse şi\u0307σσ"},
            {"E\u0301 \u00C9", "e\u0301 \u00E9"}, {"\uAB70\u13A0", "\u13A0\u13A0"},
            {"\U00010400", "\U00010428"}, {"A\xFFZ\xF0\x9F", "a\uFFFDz\uFFFD"}};
    for (const auto& [text, folded] : rows)
        EXPECT_EQ(caseFolded(text), folded);
}

}
}
