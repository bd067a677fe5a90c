#include "foundation/files.h"
#include "settings/preferences.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace vossel {
namespace {

TEST(Directories, EveryPathMovesWithThePrefix)
{
    const struct {
        std::string_view given, prefix;
    } prefixes[] = {{"", ""}, {"/", ""}, {"//", ""}, {"/srv/t", "/srv/t"}, {"/srv/t//", "/srv/t"},
        {"relative/", "relative"}, {"/100%@", "/100%@"}};
    for (const auto& [given, prefix] : prefixes) {
        const Directories directories(given);
        const std::pair<std::string, std::string_view> paths[] = {
            {directories.prefix(), ""},
            {directories.sharedData(), "/Users/Shared/Vossel/"},
            {directories.preferences(),
                "/Users/Shared/Vossel/com.brenick.Vossel.preferences.plist"},
            {directories.firstRunMarker(), "/Users/Shared/Vossel/first_run"},
            {directories.learningModeMarker(), "/Users/Shared/Vossel/learning_mode"},
            {directories.simpleModeMarker("ann"), "/Users/Shared/Vossel/ann.vossel.simple_mode"},
            {directories.failsafeRules(), "/Users/Shared/Vossel/failsafe.rc"},
            {directories.userRules("%@"), "/Users/Shared/Vossel/%@.vossel.rc"},
            {directories.autodetectIgnoreList("ann"), "/Users/Shared/Vossel/ann.autodetect.plist"},
            {directories.programIcon(), "/Users/Shared/Vossel/.VosselTemp.png"},
            {directories.autodetectAssets(), "/Users/Shared/Vossel Extras/Autodetect/"},
            {directories.support(), "/Library/Application Support/Vossel/"},
            {directories.warningImage(), "/Library/Application Support/Vossel/warning.png"},
            {directories.lockImage(), "/Library/Application Support/Vossel/lock.png"},
            {directories.configurationApplication(), "/Applications/Vossel Configuration.app"},
            {directories.driverSocket(), "/run/vossel/VosselDriver.sock"},
        };
        for (const auto& [path, expected] : paths)
            EXPECT_EQ(path, std::string(prefix).append(expected));
    }
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
    EXPECT_FALSE(Preferences::load(directories_));
    EXPECT_EQ(value(preference::promptsWhileLocked), 0);

    for (const auto format : {PropertyListFormat::Xml, PropertyListFormat::Binary}) {
        PropertyList list;
        list.set(std::string(preference::promptsWhileLocked), PropertyList(std::int64_t{2}));
        list.set(std::string(preference::promptsRemote), PropertyList(true));
        list.set(std::string(preference::userDetail), PropertyList(std::string("3")));
        write(*writePropertyList(list, format));
        const auto loaded = Preferences::load(directories_);
        ASSERT_TRUE(loaded);
        EXPECT_EQ(value(preference::promptsWhileLocked), 2);
        EXPECT_EQ(value(preference::promptsRemote), 1);
        EXPECT_EQ(value(preference::userDetail), 3);
        EXPECT_EQ(value(preference::promptsOutOfBand), 0);

        write(*writePropertyList(PropertyList(), format));
        EXPECT_EQ(value(preference::promptsWhileLocked), 0);
        EXPECT_EQ(loaded->integer(preference::promptsWhileLocked), 2);
    }
}

TEST_F(PreferencesFile, WhatIsNoDictionaryDoesNotLoad)
{
    for (const auto* content : {"", "garbage", "<plist><array><true/></array></plist>",
             "<plist><dict><key>access.user.detail</key><integer>1</integer>", "bplist00"}) {
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
