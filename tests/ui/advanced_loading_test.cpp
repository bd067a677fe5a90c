#include "prompt_fixture.h"

#include <gtest/gtest.h>

namespace vossel::test {
namespace {

constexpr std::string_view daemon = "/System/Library/PrivateFrameworks/PackageKit.framework"
                                    "/Versions/A/Resources/installd";
constexpr std::string_view volume = "/Volumes/No #1 & b";

std::string screenOf(const QMPermissionsWindow& prompt)
{
    const PermissionsControls& controls = prompt.controls();
    const CheckBox& updates = controls.allowUpdatesCheckBox;
    const PopUpButton& path = controls.pathPopUpControl;
    std::string text = controls.activityDescriptionTextField.stringValue() + "\n"
        + controls.applicationPathTextField.stringValue() + " < "
        + controls.applicationParentPathTextField.stringValue() + "\n"
        + controls.filenameTextField.stringValue() + " | "
        + controls.codeSignTextField.stringValue() + " | "
        + describe(prompt.frame().applicationIconImageView.image())
        + (path.enabled() ? "\npath" : "\npath off");
    for (std::size_t item = 0; item < path.items().size(); ++item)
        text += (static_cast<int>(item) == path.selectedIndex() ? " >" : " ")
            + path.items()[item].title + ";";
    return text + "\nprocess " + std::to_string(controls.applicationNamePopUp.selectedIndex())
        + " [" + controls.applicationNamePopUp.title() + "] " + controls.operationsButton.title()
        + ", duration " + std::to_string(controls.durationSegmentedControl.selectedSegment())
        + " of " + std::to_string(controls.durationSegmentedControl.segmentCount()) + ", updates "
        + (updates.checked() ? "on" : "off") + (updates.enabled() ? "" : " disabled") + ", pid "
        + std::to_string(prompt.installerPID());
}

policy_query signedQuery(std::string_view path, std::int32_t operation = OPERATION_READ,
    std::int32_t ppid = 0, std::string_view parent = {})
{
    policy_query query = queryFor(path, operation, "/opt/Notes", parent);
    query.ppid = ppid;
    query.reserved1 = CODE_SIGN_VALID;
    storeText(query.reserved2, "a\tb\tAcme\nInc.");
    storeText(query.cs_info.teamid, "TEAM1");
    return query;
}

policy_query unsignedQuery()
{
    policy_query query = signedQuery("/srv/x", OPERATION_EXECUTE, 56); // not in the process table
    query.pid = -3;
    query.reserved1 = CODE_SIGN_UNSIGNED;
    storeText(query.process_name, "");
    storeText(query.reserved2, "not signed");
    return query;
}

TEST(AdvancedLoading, ShowsWhatTheQuerySays)
{
    const std::string preferences = "/Users/ann/Library/Preferences/";
    const std::string signer = " | AcmeInc. | file .VosselTemp.png\n";
    const std::string image = std::string(volume) + "/a.txt";
    const std::string readImage = "Notes would like to access the volume \"No #1 & b\".\n"
                                  "/opt/Notes (100) < \n"
        + image + signer + "path File Extension .txt; Only " + image
        + "; Only /Volumes/No #1 & b/; >In /Volumes/No #1 & b/; In /Volumes/; Any Files;\n";
    const std::string ordinary = " Read-Write, duration 1 of 4, updates on, pid 0";
    const std::string installd = "\n/opt/Notes (100) < " + std::string(daemon) + " (60)\n/srv/x";
    const struct {
        policy_query query;
        std::string screen;
        std::uint32_t installer = 0;
    } rows[] = {
        {signedQuery("/srv/data/a.txt", OPERATION_READ, 55, "/bin/sh"),
            "Vossel detected an attempt to read the following file...\n"
            "/opt/Notes (100) < /bin/sh (55)\n/srv/data/a.txt"
                + signer
                + "path File Extension .txt; Only /srv/data/a.txt; Only /srv/data/;"
                  " >In /srv/data/; In /srv/; Any Files;\nprocess 3 [Notes via sh]"
                + ordinary},
        {unsignedQuery(),
            "Vossel detected an attempt to execute the following file...\n"
            "unknown program (-3) < unknown program (56)\n/srv/x | not signed | file warning.png\n"
            "path Only /srv/x; Only /srv/; >In /srv/; Any Files;\n"
            "process 2 [unknown program] Execute, duration 1 of 4, updates off disabled, pid 0"},
        {signedQuery(preferences + "com.apple.loginitems.plist", OPERATION_WRITE, -9),
            "Notes would like to install or modify a login item.\n/opt/Notes (100) < \n"
                + preferences + "com.apple.loginitems.plist" + signer
                + "path off File Extension .plist; >Only " + preferences
                + "com.apple.loginitems.plist; Only " + preferences + "; In " + preferences
                + "; In /Users/ann/Library/; In /Users/ann/; In /Users/; Any Files;\n"
                  "process 2 [Notes] Read-Write, duration 0 of 4, updates on, pid 0"},
        {signedQuery("/dev/bpf3"),
            "Notes would like to intercept network packets.\n/opt/Notes (100) < \n/dev/bpf" + signer
                + "path off Only /dev/bpf3; >In /dev/bpf;\nprocess 2 [Notes]" + ordinary},
        {signedQuery(image),
            readImage + "process 1 [any process] Read Only, duration 2 of 4, updates on, pid 0"},
        {signedQuery(image, OPERATION_WRITE), readImage + "process 2 [Notes]" + ordinary},
        {signedQuery("/srv/x", OPERATION_READ, 60),
            "Vossel detected an attempt to read the following file..." + installd + signer
                + "path Only /srv/x; Only /srv/; >In /srv/; Any Files;\nprocess 2 [Notes]"
                + ordinary},
        {signedQuery("/srv/x", OPERATION_READ, 60),
            "An installer is attempting to install software on this system" + installd
                + " | AcmeInc. | icon of Installer.app\n"
                  "path Only /srv/x; Only /srv/; In /srv/; >Any Files;\nprocess 3 [any with "
                  "ancestor installd] Read-Write, duration 1 of 3, updates on, pid 900",
            900},
    };
    for (const auto& row : rows) {
        PromptFixture fixture;
        fixture.chooseAdvancedPrompts();
        fixture.host.volumes.diskImages.set({std::string(volume)});
        fixture.host.processes.add(60, 1, std::string(daemon));
        fixture.host.installers.running.set(row.installer);
        EXPECT_EQ(screenOf(*fixture.open(row.query)), row.screen);
    }
}

TEST(AdvancedLoading, PathChoiceAndForeverByTarget)
{
    const struct {
        std::string path;
        bool ownPath; // below the prefix
        bool pathEnabled;
        int segments;
    } rows[] = {{"/System/Library/Components/AppleScript.component/x", false, false, 4},
        {"/Users/Shared/Vossel/ann.vossel.rc", true, false, 3},
        {"/Users/Shared/Vossel", true, true, 4}, {"/x/DAL/AppleCamera.plugin/y", false, false, 4},
        {":IOKIT/Thing", false, true, 4}};
    PromptFixture fixture;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        const auto prompt
            = fixture.open(queryFor((row.ownPath ? fixture.directory.path() : "") + row.path));
        EXPECT_EQ(prompt->controls().pathPopUpControl.enabled(), row.pathEnabled);
        EXPECT_EQ(prompt->controls().durationSegmentedControl.segmentCount(), row.segments);
    }
    fixture.forbidRules();
    const auto prompt = fixture.open(queryFor("/x"));
    EXPECT_EQ(prompt->controls().durationSegmentedControl.segmentCount(), 3);
}

TEST(AdvancedLoading, UpdatesStayCoveredWhereAMakerIsKnown)
{
    const struct {
        int state;
        std::string_view team;
        const char* program;
        CheckBoxState updates; // checked, enabled, hidden
    } rows[] = {{CODE_SIGN_VALID, "TEAM", "/usr/local/bin/x", {true, true, false}},
        {CODE_SIGN_VALID, "TEAM", "/usr/bin/x", {true, false, true}},
        {CODE_SIGN_VALID, "\xff", "/opt/x", {false, false, false}},
        {CODE_SIGN_VALID, "", "/System/x", {false, false, true}},
        {CODE_SIGN_INVALID, "TEAM", "/opt/x", {false, false, false}}};
    PromptFixture fixture;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.program);
        policy_query query = queryFor("/x", OPERATION_READ, row.program);
        query.reserved1 = row.state;
        storeText(query.cs_info.teamid, row.team);
        EXPECT_EQ(fixture.open(query)->controls().allowUpdatesCheckBox.state(), row.updates);
    }
}

TEST(AdvancedLoading, WindowKeepsTheScreenUntilItResigns)
{
    PromptFixture fixture;
    fixture.chooseAdvancedPrompts();
    fixture.host.windows.commandKey.set(true);
    fixture.present(queryFor("/x"));
    ASSERT_TRUE(fixture.presenter.advanced);
    const auto prompt = fixture.presenter.advanced->shared_from_this();
    EXPECT_TRUE(prompt->frame().allowButton.highlighted());
    WindowState state{{0, 0, 560, 360}, true, 257, 144 | 0x8000, WindowLevel{14}, false, false, 1,
        true, true, true, true, Appearance::VibrantLight, ContentEffect{EffectMaterial{6}}, 643,
        {}};
    EXPECT_EQ(prompt->frame().window.state(), state);

    fixture.broker.cancelQuery();
    state.level = WindowLevel{4};
    state.hidesOnDeactivate = state.canHide = true;
    state.firstResponder = state.keyWindow = state.mainWindow = false;
    EXPECT_EQ(prompt->frame().window.state(), state);
    EXPECT_EQ(
        fixture.host.windows.acts.get(), (Lines{"activate", "activate", "deactivate", "hide"}));
    EXPECT_EQ(fixture.presenter.calls, (Lines{"opened", "closed"}));
}

TEST(AdvancedLoading, ProcessMenuFitsItsLongestTitleWithinTheLayout)
{
    PromptFixture fixture;
    // 6.5 points a byte and 35 for the arrow; "any process" is the longest at first.
    const std::pair<std::size_t, double> rows[]
        = {{2, 35 + 6.5 * 11}, {20, 35 + 6.5 * 20}, {90, 410}};
    for (const auto& [length, width] : rows) {
        const auto prompt
            = fixture.open(queryFor("/x", OPERATION_READ, "/opt/" + std::string(length, 'n')));
        EXPECT_EQ(prompt->controls().applicationNamePopUp.frame(), (Rect{130, 276, width, 26}));
    }
}

TEST(AdvancedLoading, RecordsWithoutANulAreReadToTheirEnd)
{
    PromptFixture fixture;
    policy_query query{};
    query.ppid = 9;
    fillArray(query.path, 'p', "/");
    fillArray(query.process_name, '\xff', "/opt/");
    fillArray(query.parent_name, 'r', "/");
    fillArray(query.reserved2, 's');
    fillArray(query.cs_info.teamid, 't');
    const auto prompt = fixture.open(query);
    EXPECT_EQ(prompt->controls().filenameTextField.stringValue().size(), 1024U);
    EXPECT_EQ(prompt->controls().applicationParentPathTextField.stringValue(),
        "/" + std::string(1023, 'r') + " (9)");
}

}
}
