#include "hosts/simulated/simulated_host.h"
#include "prompting/utilities.h"
#include "ui/controls/text_field.h"

#include <gtest/gtest.h>

namespace vossel {
namespace {

TEST(Utilities, FindsProcesses)
{
    SimulatedHost host;
    const Utilities utilities(host.host);
    const std::string longest = "/" + std::string(1022, 'p');
    host.processes.add(1, 0, "/sbin/launchd");
    host.processes.add(7, 1, "/bin/sh");
    host.processes.add(9, 7, "/bin/sh");
    host.processes.add(11, 7, ""); // may not be asked
    host.processes.add(12, 7, longest);
    EXPECT_EQ(utilities.processIDForParentOfProcessID(9), 7);
    EXPECT_EQ(utilities.processIDForParentOfProcessID(1), 0);
    EXPECT_EQ(utilities.processIDForParentOfProcessID(4000000000), -1);
    EXPECT_EQ(utilities.findProcessIDWithPath("/bin/sh"), 9U);
    EXPECT_EQ(utilities.findProcessIDWithPath("/bin/s"), 0U);
    EXPECT_EQ(utilities.findProcessIDWithPath(""), 0U);
    EXPECT_EQ(utilities.findProcessIDWithPath(longest), 12U);
    EXPECT_EQ(utilities.findProcessIDWithPath(longest + "pp"), 0U);
}

TEST(Utilities, AsksForDiskImagesByFileUrlsOnly)
{
    SimulatedHost host;
    const Utilities utilities(host.host);
    using namespace std::string_literals;
    host.volumes.diskImages.set({"/Volumes/a b", "/Volumes/a b\0"s, "/", "/\xff"});
    const std::pair<std::string_view, bool> rows[] = {
        {"file:///Volumes/a%20b", true},
        {"file:///Volumes/a b/", true},
        {"file://localhost/Volumes/a%20b/", true},
        {"file:///", true},
        {"file:///%fF", true},
        {"file:///Volumes/a%20b?x#y", true},
        {"file://elsewhere/Volumes/a%20b", false},
        {"file://localhostile/Volumes/a%20b", false},
        {"file:/Volumes/a%20b", false},
        {"/Volumes/a b", false},
        {"https://localhost/Volumes/a%20b", false},
        {"file:///Volumes/a%2", false},
        {"file:///Volumes/a%zzb", false},
        {"file:///Volumes/a%20b%00", false},
        {"file://", false},
        {"", false},
    };
    for (const auto& [url, expected] : rows) {
        SCOPED_TRACE(url);
        EXPECT_EQ(utilities.isDiskImageAtURL(url), expected);
    }
}

TEST(Utilities, ShrinksAFontOnlyAsFarAsItMust)
{
    SimulatedHost host; // a character is half as wide as the font is high
    const Utilities utilities(host.host);
    struct Row {
        std::size_t characters;
        float font;
        float expectedFont;
        double expectedWidth;
    };
    const Row rows[] = {
        {10, 13, 13, 65}, // fits
        {20, 16, 15, 150}, // exactly as wide as the field
        {20, 15.5F, 15, 150},
        {100, 13, 12, 150}, // never fits
        {100, 12.3F, 11.8F, 150}, // off the grid: one step below 12
        {100, 12, 12, 150},
        {100, 9, 9, 150},
        {0, 13, 13, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.characters << " at " << row.font);
        TextField field;
        field.setStringValue(std::string(row.characters, 'm'));
        field.setFontSize(row.font);
        field.setFrame({3, 4, 150, 20});
        utilities.adjustFontSizeToFitWidth(field);
        EXPECT_FLOAT_EQ(field.fontSize(), row.expectedFont);
        EXPECT_EQ(field.frame(), (Rect{3, 4, row.expectedWidth, 20}));
    }
}

}
}
