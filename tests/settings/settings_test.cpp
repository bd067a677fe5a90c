#include "foundation/files.h"
#include "settings/preferences.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace vossel {
namespace {

TEST(Directories, MovesEveryPathWithThePrefix)
{
    const Directories at("/srv/t//");
    const std::pair<std::string, std::string> paths[] = {
        {at.prefix(), ""},
        {at.failsafeRules(), "/Users/Shared/Vossel/failsafe.rc"},
        {at.simpleModeMarker("ann"), "/Users/Shared/Vossel/ann.vossel.simple_mode"},
        {at.userRules("%@"), "/Users/Shared/Vossel/%@.vossel.rc"},
        {at.autodetectAssets(), "/Users/Shared/Vossel Extras/Autodetect/"},
        {at.lockImage(), "/Library/Application Support/Vossel/lock.png"},
        {at.driverSocket(), "/run/vossel/VosselDriver.sock"},
    };
    for (const auto& [path, expected] : paths)
        EXPECT_EQ(path, "/srv/t" + expected);
    for (const auto* none : {"", "/", "//"})
        EXPECT_EQ(Directories(none).sharedData(), "/Users/Shared/Vossel/");
    EXPECT_EQ(Directories("/100%@").simpleModeMarker("ann"),
        "/100%@/Users/Shared/Vossel/ann.vossel.simple_mode");
}

class PreferencesFile : public testing::Test {
protected:
    void SetUp() override { std::filesystem::create_directories(directories_.sharedData()); }
    void write(std::string_view content) const
    {
        ASSERT_TRUE(writeFile(directories_.preferences(), content));
    }
    [[nodiscard]] std::int64_t value(std::string_view key) const
    {
        return valueForPreference(directories_, key);
    }

    test::TemporaryDirectory root_;
    Directories directories_{root_.path()};
};

TEST_F(PreferencesFile, EachReadingSeesTheFileAsItIs)
{
    write("<plist><dict><key>ui.prompts.while_locked</key><integer>2</integer></dict></plist>");
    const auto loaded = Preferences::load(directories_);
    ASSERT_TRUE(loaded);
    EXPECT_EQ(value(preference::promptsWhileLocked), 2);
    EXPECT_EQ(value(preference::promptsOutOfBand), 0);
    write("<plist><dict/></plist>");
    EXPECT_EQ(value(preference::promptsWhileLocked), 0);
    EXPECT_EQ(loaded->integer(preference::promptsWhileLocked), 2);
}

TEST_F(PreferencesFile, WhatIsNoDictionaryDoesNotLoad)
{
    EXPECT_FALSE(Preferences::load(directories_)); // there is none
    for (const auto* content : {"", "garbage", "<plist><array><true/></array></plist>",
             "<plist><dict><key>access.user.detail</key><integer>1</integer>"}) {
        write(content);
        EXPECT_FALSE(Preferences::load(directories_)) << content;
        EXPECT_EQ(value(preference::userDetail), 0) << content;
    }
    std::filesystem::remove(directories_.preferences());
    std::filesystem::create_directory(directories_.preferences());
    EXPECT_FALSE(Preferences::load(directories_));
}

}
}
