#include "hosts/terminal/line_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace vossel::test {
namespace {

using Kind = LineCommand::Kind;

TEST(LineCommandTest, Reads)
{
    const std::pair<std::string_view, LineCommand> rows[] = {
        {"allow", {Kind::Allow, 0}},
        {" deny\t", {Kind::Deny, 0}},
        {"path 0", {Kind::Path, 0}},
        {"process \t 007", {Kind::Process, 7}},
        {"duration 2147483647", {Kind::Duration, 2147483647}},
        {"operations", {Kind::Operations, 0}},
        {"updates on", {Kind::Updates, 1}},
        {"updates off", {Kind::Updates, 0}},
        {"advanced", {Kind::Advanced, 0}},
        {"state", {Kind::State, 0}},
        {"wait", {Kind::Wait, 0}},
    };
    for (const auto& [line, expected] : rows) {
        const auto command = parseLineCommand(line);
        ASSERT_TRUE(command) << line;
        EXPECT_EQ(*command, expected) << line;
    }
}

TEST(LineCommandTest, Refuses)
{
    const std::pair<std::string_view, std::string_view> rows[] = {
        {"", "there is no such command"},
        {"Allow", "there is no such command"},
        {"allowed", "there is no such command"},
        {std::string_view("allow\0", 6), "there is no such command"},
        {"\xff\xfe", "there is no such command"},
        {"allow 1", "this command takes no argument"},
        {"path", "this command takes one number"},
        {"path -1", "this command takes one number"},
        {"path +1", "this command takes one number"},
        {"path 1x", "this command takes one number"},
        {"path 1 2", "this command takes one number"},
        {"path 2147483648", "this command takes one number"},
        {"updates", "this command takes on or off"},
        {"updates 1", "this command takes on or off"},
    };
    for (const auto& [line, reason] : rows) {
        const auto command = parseLineCommand(line);
        ASSERT_FALSE(command) << line;
        EXPECT_EQ(command.reason(), reason) << line;
    }
}

// The same lines come out however the bytes are cut into pieces.
TEST(LineSplitterTest, CutsAnyPiecesIntoTheSameLines)
{
    const std::string longest(LineSplitter::longestLine, 'x');
    const std::string stream
        = "a\r\n\n" + longest + "\n" + longest + "y z\nb\rc\n" + longest + "\r\nlast";
    const std::vector<std::string> expected{"a", "", longest,
        std::string(LineSplitter::shownOfLongLine, 'x') + " (too long)", "b\rc",
        std::string(LineSplitter::shownOfLongLine, 'x') + " (too long)", "last"};
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
        EXPECT_THAT(lines, testing::ElementsAreArray(expected)) << piece;
    }
}

}
}
