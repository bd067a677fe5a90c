#include "foundation/files.h"
#include "settings/preferences.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace vossel {
namespace {

TEST(Directories, EveryPathMovesWithThePrefix)
{
    const Directories at("/srv/t//");
    EXPECT_EQ(at.prefix(), "/srv/t");
    const std::pair<std::string, std::string> paths[] = {
        {at.preferences(), "/Users/Shared/Vossel/com.brenick.Vossel.preferences.plist"},
        {at.firstRunMarker(), "/Users/Shared/Vossel/first_run"},
        {at.learningModeMarker(), "/Users/Shared/Vossel/learning_mode"},
        {at.simpleModeMarker("ann"), "/Users/Shared/Vossel/ann.vossel.simple_mode"},
        {at.failsafeRules(), "/Users/Shared/Vossel/failsafe.rc"},
        {at.userRules("%@"), "/Users/Shared/Vossel/%@.vossel.rc"},
        {at.autodetectIgnoreList("ann"), "/Users/Shared/Vossel/ann.autodetect.plist"},
        {at.programIcon(), "/Users/Shared/Vossel/.VosselTemp.png"},
        {at.autodetectAssets(), "/Users/Shared/Vossel Extras/Autodetect/"},
        {at.warningImage(), "/Library/Application Support/Vossel/warning.png"},
        {at.lockImage(), "/Library/Application Support/Vossel/lock.png"},
        {at.buildNumber(), "/Library/Application Support/Vossel/build_number"},
        {at.userGuide(), "/Library/Application Support/Vossel/Vossel User Guide.pdf"},
        {at.configurationApplication(), "/Applications/Vossel Configuration.app"},
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
    for (const auto format : {PropertyListFormat::Xml, PropertyListFormat::Binary}) {
        PropertyList list;
        list.set(std::string(preference::promptsWhileLocked), PropertyList(std::int64_t{2}));
        write(*writePropertyList(list, format));
        const auto loaded = Preferences::load(directories_);
        ASSERT_TRUE(loaded);
        EXPECT_EQ(value(preference::promptsWhileLocked), 2);
        EXPECT_EQ(value(preference::promptsOutOfBand), 0);
        write(*writePropertyList(PropertyList(), format));
        EXPECT_EQ(value(preference::promptsWhileLocked), 0);
        EXPECT_EQ(loaded->integer(preference::promptsWhileLocked), 2);
    }
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
