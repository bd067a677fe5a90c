#include "frontends/lines/line_splitter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace vossel::test {
namespace {

// The same lines come out however the bytes are cut into pieces.
TEST(LineSplitterTest, CutsAnyPiecesIntoTheSameLines)
{
    const std::string longLine(LineSplitter::maxLine, 'x');
    const std::string cut = std::string(LineSplitter::maxShownOfLongLine, 'x') + " (too long)";
    const std::string stream
        = "a\r\n\n" + longLine + "\n" + longLine + "y z\nb\rc\n" + longLine + "\r\nlast";
    for (const std::size_t piece : {std::size_t{1}, std::size_t{4096}, stream.size()}) {
        LineSplitter splitter;
        std::vector<std::string> lines;
        const auto collect = [&](std::string_view line, bool tooLong) {
            lines.push_back(std::string(line) + (tooLong ? " (too long)" : ""));
        };
        for (std::size_t at = 0; at < stream.size(); at += piece)
            splitter.feed(std::string_view(stream).substr(at, piece), collect);
        splitter.finish(collect);
        splitter.finish(collect);
        EXPECT_THAT(lines, testing::ElementsAre("a", "", longLine, cut, "b\rc", cut, "last"))
            << piece;
    }
}

}
}
