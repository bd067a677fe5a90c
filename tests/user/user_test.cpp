#include "hosts/simulated/simulated_host.h"
#include "support/temporary_directory.h"
#include "user/authentication.h"
#include "user/notices.h"
#include "user/user_checks.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace vossel::test {
namespace {

struct User : ::testing::Test {
    TemporaryDirectory directory;
    Directories directories{directory.path()};
    SimulatedHost host;
    UserChecks checks{host.accounts, directories};
};

TEST_F(User, IsAnAdministratorOnlyOnTheSystemsWord)
{
    const struct {
        UserId user;
        std::optional<GroupId> group;
        std::optional<bool> member;
        bool administrator;
    } rows[] = {{501, 80, true, true}, {501, 80, false, false}, {501, 80, std::nullopt, false},
        {501, std::nullopt, true, false}, {0, 80, true, false}};
    for (const auto& row : rows) {
        host.accounts.facts.with([&](auto& facts) {
            facts.realUserId = row.user;
            facts.administratorsGroup = row.group;
            facts.isAdministrator = row.member;
        });
        EXPECT_EQ(checks.isAdminUser(), row.administrator) << &row - rows;
        EXPECT_EQ(checks.isRoot(), row.user == 0);
    }
}

TEST_F(User, MayCreateRulesWhereTheSharedFolderIsWritable)
{
    EXPECT_FALSE(checks.canCreateRules());
    EXPECT_FALSE(checks.checkFirstRunMode());
    std::filesystem::create_directories(directories.sharedData());
    EXPECT_TRUE(checks.canCreateRules());
    std::ofstream(directories.firstRunMarker()).close();
    std::filesystem::create_directory(directories.learningModeMarker()); // existence alone counts
    EXPECT_TRUE(checks.checkFirstRunMode());
    EXPECT_TRUE(checks.checkLearningMode());
    std::filesystem::remove_all(directories.sharedData());
    host.accounts.facts.with([](auto& facts) { facts.realUserId = 0; });
    EXPECT_TRUE(checks.canCreateRules());
}

TEST_F(User, ProvesToBeAnAdministratorByFingerprintOrElseByPassword)
{
    const Authentication authentication(host.authenticator);
    const std::string fingerprint = "fingerprint: verify authorization";
    const struct {
        bool sensor, finger, password, proved;
        std::vector<std::string> asked;
    } rows[] = {{true, true, false, true, {fingerprint}},
        {true, false, true, true, {fingerprint, "password"}},
        {true, false, false, false, {fingerprint, "password"}},
        {false, true, true, true, {"password"}}};
    for (const auto& row : rows) {
        host.authenticator.asked.set({});
        host.authenticator.hasFingerprint.set(row.sensor);
        host.authenticator.fingerprintMatches.set(row.finger);
        host.authenticator.isAdministrator.set(row.password);
        EXPECT_EQ(authentication.performAuthentication(), row.proved);
        EXPECT_EQ(host.authenticator.asked.get(), row.asked);
    }
}

TEST_F(User, TellsOfNoticesAndIgnoredInput)
{
    const UserNotices notices(host.host, directories);
    notices.displayNotice("Caf\x8e", "\xd2quoted\xd3");
    const Notice expected{"Café", "“quoted”", directories.lockImage(), "OK", 60};
    EXPECT_EQ(host.notices.displayed.get().at(0), expected);
    host.processes.add(4242, 1, "/usr/local/bin/typer");
    notices.sendIgnoredNotificationForPid(4242, "keypresses");
    notices.sendIgnoredNotificationForPid(-1, "mouse clicks");
    const auto delivered = host.notifications.delivered.get();
    ASSERT_EQ(delivered.size(), 2U);
    EXPECT_EQ(delivered[0].title, "Ignoring keypresses");
    EXPECT_EQ(
        delivered[0].informativeText, "Ignored software-composed keypresses from typer (4242)");
    EXPECT_EQ(delivered[1].informativeText,
        "Ignored software-composed mouse clicks from a program that nobody can name");
}

}
}
