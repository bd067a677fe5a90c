#include "foundation/log.h"
#include "foundation/path_text.h"
#include "foundation/text_format.h"
#include "foundation/utf8.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace vossel {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::ElementsAreArray;

TEST(PathText, TakesPathsApart)
{
    const struct {
        std::string_view path, last, extension, parent;
        std::vector<std::string_view> components;
    } rows[] = {
        {"", "", "", "", {}},
        {"///", "/", "", "/", {"/"}},
        {"a", "a", "", "", {"a"}},
        {"/a/b/", "b", "", "/a", {"/", "a", "b", "/"}},
        {"//a///b//", "b", "", "//a", {"/", "a", "b", "/"}},
        {"//a", "a", "", "/", {"/", "a"}},
        {"/x/y.app/", "y.app", "app", "/x", {"/", "x", "y.app", "/"}},
        {"/x.d/.profile", ".profile", "", "/x.d", {"/", "x.d", ".profile"}},
        {".a.b", ".a.b", "b", "", {".a.b"}},
        {"a.", "a.", "", "", {"a."}},
        {"/a/..", "..", "", "/a", {"/", "a", ".."}},
        {"/\xFF.\x80/ b", " b", "", "/\xFF.\x80", {"/", "\xFF.\x80", " b"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        EXPECT_EQ(lastPathComponent(row.path), row.last);
        EXPECT_EQ(pathExtension(row.path), row.extension);
        EXPECT_EQ(parentPath(row.path), row.parent);
        EXPECT_THAT(pathComponents(row.path), ElementsAreArray(row.components));
    }
}

TEST(PathText, KnowsTheSystemsOwnLocations)
{
    for (const auto* path :
        {"/System/x", "/usr/", "/usr/local", "/usr//local/x", "/usr/localx", "/bin/sh", "/sbin/x"})
        EXPECT_TRUE(isSIP(path)) << path;
    for (const auto* path : {"", "/System", "/system/x", "/usr", "/usr/local/bin/x", "//bin/sh",
             "bin/sh", "/opt/usr/bin"})
        EXPECT_FALSE(isSIP(path)) << path;
}

TEST(TextFormat, FillsPlaceholdersOnceInOrder)
{
    EXPECT_EQ(formatText("%@%@.rc", {"/x/", "ann"}), "/x/ann.rc");
    EXPECT_EQ(formatText("%@%@", {"%@", "b"}), "%@b");
    EXPECT_EQ(formatText("100%, %d %%@", {"a", "spare"}), "100%, %d %a");
}

TEST(Utf8, TellsAndRepairsInvalidText)
{
    const std::string r = "\xEF\xBF\xBD";
    const struct {
        std::string bytes, repaired;
    } rows[] = {{"", ""}, {"a\0b\x7F"s, "a\0b\x7F"s}, {"\xC2\x80\xDF\xBF", "\xC2\x80\xDF\xBF"},
        {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF",
            "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
        // overlong, surrogate, beyond the end: no prefix of these is one of a character
        {"\xC0\xAF", r + r}, {"\xE0\x9F\xBF", r + r + r}, {"\xED\xA0\x80", r + r + r},
        {"\xF0\x8F\xBF\xBF", r + r + r + r}, {"\xF4\x90\x80\x80", r + r + r + r},
        {"\xFF\xFE", r + r},
        // cut short: one for what there is of the character
        {"\xC3", r}, {"\xF0\x9F\x98", r}, {"\xE2\x82z", r + "z"},
        {"\xF0\x9F\xC3\xA9", r + "\xC3\xA9"}, {"\x80z\xBF", r + "z" + r}};
    for (const auto& row : rows) {
        EXPECT_EQ(toValidUtf8(row.bytes), row.repaired) << testing::PrintToString(row.bytes);
        EXPECT_EQ(isValidUtf8(row.bytes), row.bytes == row.repaired)
            << testing::PrintToString(row.bytes);
    }
}

TEST(Utf8, FindsTheOneBadByteWhereverItStands)
{
    const std::string ascii = "some forty bytes, so that they come by blocks";
    EXPECT_TRUE(isValidUtf8(ascii) && isAscii(ascii));
    for (std::size_t at = 0; at < ascii.size(); ++at) {
        SCOPED_TRACE(at);
        for (const auto* bytes : {"\x80", "\xC3", "\xFF"}) {
            const auto bad = std::string(ascii).replace(at, 1, bytes);
            EXPECT_FALSE(isValidUtf8(bad) || isAscii(bad));
            EXPECT_FALSE(isValidUtf8("\u00E9" + bad));
        }
        const auto other = std::string(ascii).replace(at, 1, "\U0001F600");
        EXPECT_TRUE(isValidUtf8(other) && !isAscii(other));
    }
}

TEST(Utf8, ReadsMacRoman)
{
    EXPECT_EQ(fromMacRoman("a\n\x7F\0"s), "a\n\x7F\0"s);
    EXPECT_EQ(fromMacRoman("\x80\x8A\xA5\xBD\xC9\xD3\xDB\xDE\xF0\xFF"), "Ää•Ω…”€ﬁ\xEF\xA3\xBFˇ");
}

TEST(Log, ReachesTheListenerOnly)
{
    std::vector<std::string> lines;
    logText("nobody %@", "hears");
    setLogSink([&lines](std::string_view line) {
        lines.emplace_back(line);
        logText("from inside"); // dropped, and no deadlock
        if (line == "throw")
            throw std::runtime_error("broken listener");
    });
    logText("paths: %@", std::string("/a"));
    logText("throw");
    logText("after");
    setLogSink({});
    EXPECT_FALSE(logListening());
    logText("late");
    EXPECT_THAT(lines, ElementsAre("paths: /a", "throw", "after"));
}

}
}
