#include "prompting/alert_message.h"
#include "support/queries.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

namespace vossel {
namespace {

using test::queryFor;

struct Row {
    std::string_view path;
    std::string_view sentence;
    AlertType alertType = ALERT_ORDINARY;
    std::string_view simplePath = {}; // what simple mode makes of the path; empty: unchanged
    std::int32_t operation = OPERATION_READ;
};

void expectMessage(const Row& row, bool simpleMode, const Directories& directories = Directories())
{
    SCOPED_TRACE(std::string(row.path) + (simpleMode ? " (simple)" : " (advanced)"));
    auto query = queryFor(row.path, row.operation, "/opt/Notes", "/bin/sh");
    const auto message = buildAlertMessage(query, {simpleMode, "/Users/ann", directories});
    EXPECT_EQ(message, (AlertMessage{std::string(row.sentence), row.alertType}));
    EXPECT_EQ(
        textOf(query.path), simpleMode && !row.simplePath.empty() ? row.simplePath : row.path);
}

TEST(AlertMessage, SaysWhatASpecialPlaceMeans)
{
    constexpr std::string_view webcam = "Notes via sh would like access to the webcam.";
    constexpr std::string_view background
        = "Notes via sh would like to install or modify a background ";
    const std::string application = std::string(background) + "application.";
    const std::string own = std::string(background) + "application in your account.";
    const Row rows[] = {
        {"/private/var/db/lockdown/1.plist",
            "Vossel detected an attempt to access iOS pairing records.", ALERT_PAIRING_RECORDS},
        {":ATTACH/1", "Notes via sh is attempting to take over another process."},
        {"/dev/bpf0", "Notes via sh would like to intercept network packets."},
        {"/Users/Shared/Vossel/ann.vossel.rc",
            "Notes via sh would like to access your Vossel rules.", ALERT_OWN_RULES},
        {"/System/Library/Components/AppleScript.component/x",
            "Notes via sh would like to execute an AppleScript.", ALERT_APPLESCRIPT, {},
            OPERATION_EXECUTE},
        {"/Applications/A.app/DAL/AppleCamera.plugin/x", webcam, ALERT_WEBCAM},
        {"/System/Library/Frameworks/CoreMediaIO.framework/Versions/A/Resources/VDC.plugin/x",
            webcam, ALERT_WEBCAM},
        {"/Applications/A.app/x", "Notes via sh would like to update or remove applications.",
            ALERT_ORDINARY, "/Applications/"},
        {"/Library/LaunchAgents/x", application, ALERT_ORDINARY, "/Library/LaunchAgents/"},
        {"/Users/ann/Library/Preferences/com.apple.loginitems.plist",
            "Notes via sh would like to install or modify a login item.", ALERT_LOGIN_ITEMS},
        {"/Users/ann/Library/LaunchAgents/x", own, ALERT_ORDINARY,
            "/Users/ann/Library/LaunchAgents/"},
        {"/Volumes/%@ disk/a/b", "Notes via sh would like to access the volume \"%@ disk\".",
            ALERT_ORDINARY, "/Volumes/%@ disk/"},
        {"/Volumes//D/a", "Notes via sh would like to access the volume \"D\".", ALERT_ORDINARY,
            "/Volumes/D/"},
        {"/Volumes/", "Notes via sh would like to access the volume \"/\".", ALERT_ORDINARY,
            "/Volumes///"},
        {"/Users/Shared/Vossel/x", "Vossel detected an attempt to mount a file system.",
            ALERT_ORDINARY, {}, OPERATION_MOUNT},
    };
    for (const auto& row : rows) {
        expectMessage(row, false);
        expectMessage(row, true);
    }
}

TEST(AlertMessage, FollowsTheProductsFolderUnderItsPrefix)
{
    const Directories moved("/Applications/trial");
    expectMessage({"/Applications/trial/Users/Shared/Vossel/x",
                      "Notes via sh would like to access your Vossel rules.", ALERT_OWN_RULES},
        true, moved);
    expectMessage({"/Users/Shared/Vossel/x",
                      "Notes via sh would like to access the file "
                      "/Users/Shared/Vossel/x"},
        true, moved);
}

TEST(AlertMessage, NamesTheFileOrItsFolder)
{
    const test::TemporaryDirectory directory;
    const auto folder = directory.path() + "/";
    const auto name = directory.path().substr(directory.path().rfind('/') + 1);
    const auto file = directory / "missing";
    expectMessage(
        {folder, "Notes via sh would like to access your \"" + name + "\" folder."}, true);
    expectMessage({file, "Notes via sh would like to access the file " + file}, true);
    expectMessage({"", "Notes via sh would like to access the file "}, true);
    // An operation is exactly one code: a set is none.
    const std::pair<std::int32_t, std::string_view> verbs[]
        = {{1, "read"}, {2, "write to"}, {4, "create"}, {16, "execute"}, {3, "unknown"},
            {17, "unknown"}, {0, "unknown"}, {-1, "unknown"}};
    for (const auto& [operation, verb] : verbs)
        expectMessage(
            {folder,
                "Vossel detected an attempt to " + std::string(verb) + " the following file...",
                ALERT_ORDINARY, {}, operation},
            false);
    expectMessage(
        {folder, "Notes via sh would like to run programs in your \"" + name + "\" folder.",
            ALERT_ORDINARY, {}, OPERATION_EXECUTE},
        true);
    expectMessage({file, "Notes via sh would like to run the program " + file, ALERT_ORDINARY, {},
                      OPERATION_EXECUTE},
        true);
}

TEST(AlertMessage, RewritesAPathWithoutItsNulWithinTheArray)
{
    auto query = queryFor({});
    query.operation = OPERATION_READ;
    test::fillArray(query.path, 'v', "/Volumes/");
    const auto before = query;
    const Directories directories;
    const auto message = buildAlertMessage(query, {true, "/Users/ann", directories});
    EXPECT_EQ(message.sentence,
        "Notes would like to access the volume \"" + std::string(1015, 'v') + "\".");
    EXPECT_EQ(textOf(query.path), textOf(before.path).substr(0, 1023));
    EXPECT_EQ(textOf(query.process_name), textOf(before.process_name));
}

}
}
