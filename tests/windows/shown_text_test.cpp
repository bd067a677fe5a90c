#include "frontends/windows/shown_text.h"

#include <gtest/gtest.h>

#include <string>

namespace vossel {
namespace {

TEST(ShownTextTest, IsHarmlessWhateverTheBytes)
{
    struct Row {
        std::string bytes;
        const char* text;
        std::size_t escapes;
    };
    const Row rows[] = {
        {"/home/ann/a.txt", "/home/ann/a.txt", 0},
        {"<b>a</b>&amp;", "<b>a</b>&amp;", 0}, // is never read as markup
        {"a\nb\xff", "a\\nb\\xff", 2},
        {"gnp\u202e.exe", "gnp\\u{202e}.exe", 1},
        {"/א/ב.c", "\u200e/\u200eא\u200e/\u200eב\u200e.\u200ec", 0},
    };
    for (const Row& row : rows) {
        const ShownText shown = shownText(row.bytes);
        EXPECT_EQ(shown.text.toStdString(), row.text);
        EXPECT_EQ(shown.escapes.size(), row.escapes) << row.text;
        EXPECT_EQ(shown.cuts.back(), shown.text.size()) << row.text;
    }
    const ShownText cluster = shownText("e\u0301😀");
    EXPECT_EQ(cluster.cuts, (std::vector<qsizetype>{0, 2, 4}));
    const ShownText both = shownText("א\n");
    ASSERT_EQ(both.escapes.size(), 1u);
    EXPECT_EQ(both.text.mid(both.escapes[0].start, both.escapes[0].length), "\\n");
}

}
}
