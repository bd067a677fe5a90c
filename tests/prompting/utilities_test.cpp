#include "hosts/simulated/simulated_host.h"
#include "prompting/utilities.h"
#include "ui/controls/text_field.h"

#include <gtest/gtest.h>

namespace vossel {
namespace {

struct UtilitiesTest : testing::Test {
    SimulatedHost host; // a character is half as wide as the font is high
    const Utilities utilities{host.host};
};

TEST_F(UtilitiesTest, FindsTheLastProcessOfAProgram)
{
    host.processes.add(7, 0, "/bin/sh");
    host.processes.add(9, 7, "/bin/sh");
    host.processes.add(11, 7, ""); // may not be asked
    EXPECT_EQ(utilities.findProcessIDWithPath("/bin/sh"), 9U);
    EXPECT_EQ(utilities.findProcessIDWithPath(""), 0U);
}

TEST_F(UtilitiesTest, AsksForDiskImagesByFileUrlsOnly)
{
    host.volumes.diskImages.set({"/a b", std::string("/c\0", 3), "/", "/\xff", "/%2", "ile"});
    for (const char* url :
        {"file:///a b/", "file://localhost/a%20b/?x#y", "file:///", "file:///%fF"})
        EXPECT_TRUE(utilities.isDiskImageAtURL(url)) << url;
    for (const char* url : {"file://localhostile/", "https://localhost/a%20b", "/a b", "file://",
             "file:///%2", "file:///a%zzb", "file:///c%00"})
        EXPECT_FALSE(utilities.isDiskImageAtURL(url)) << url;
}

TEST_F(UtilitiesTest, ShrinksAFontOnlyAsFarAsItMust)
{
    const struct {
        std::size_t characters;
        float font, shrunk;
        double width;
    } rows[] = {{10, 13, 13, 65}, {20, 16, 15, 150}, {100, 12.3F, 11.8F, 150}, {100, 12, 12, 150}};
    for (const auto& row : rows) {
        TextField field(TextFieldState{std::string(row.characters, 'm')});
        field.setFontSize(row.font);
        field.setFrame({3, 4, 150, 20});
        utilities.adjustFontSizeToFitWidth(field);
        EXPECT_FLOAT_EQ(field.fontSize(), row.shrunk);
        EXPECT_EQ(field.frame(), (Rect{3, 4, row.width, 20}));
    }
}

}
}
