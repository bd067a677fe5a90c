#include "prompt_fixture.h"

#include <gtest/gtest.h>

namespace vossel::test {
namespace {

std::string screenOf(const QMPermissionsWindow& prompt)
{
    const PermissionsControls& controls = prompt.controls();
    const PromptFrame& frame = prompt.frame();
    const CheckBox& updates = controls.allowUpdatesCheckBox;
    std::string text = controls.activityDescriptionTextField.stringValue();
    text += "\n" + controls.applicationPathTextField.stringValue() + " < "
        + controls.applicationParentPathTextField.stringValue();
    text += "\n" + controls.filenameTextField.stringValue() + " | "
        + controls.codeSignTextField.stringValue() + " | "
        + describe(frame.applicationIconImageView.image());
    text += controls.pathPopUpControl.enabled() ? "\npath" : "\npath off";
    for (const PopUpItem& item : controls.pathPopUpControl.items()) {
        const bool chosen = &item
            == &controls.pathPopUpControl
                    .items()[static_cast<std::size_t>(controls.pathPopUpControl.selectedIndex())];
        text += (chosen ? " >" : " ") + item.title + ";";
    }
    text += "\nprocess " + std::to_string(controls.applicationNamePopUp.selectedIndex()) + " of "
        + std::to_string(controls.applicationNamePopUp.numberOfItems()) + " ["
        + controls.applicationNamePopUp.title() + "]";
    text += "\n" + controls.operationsButton.title() + ", duration "
        + std::to_string(controls.durationSegmentedControl.selectedSegment()) + " of "
        + std::to_string(controls.durationSegmentedControl.segmentCount()) + ", updates "
        + (updates.checked() ? "on" : "off") + (updates.enabled() ? "" : " disabled")
        + (updates.hidden() ? " hidden" : "") + ", pid " + std::to_string(prompt.installerPID());
    text += "\n" + describe(frame.allowButton, "allow") + ", " + describe(frame.denyButton, "deny")
        + (frame.touchBarLabel.hidden() ? "" : ", on the touch bar");
    return text;
}

policy_query signedQuery(std::string_view path, std::int32_t operation = OPERATION_READ,
    std::string_view program = "/opt/Notes")
{
    policy_query query = queryFor(path, operation, program);
    query.reserved1 = CODE_SIGN_VALID;
    storeText(query.reserved2, "a\tb\tAcme\nInc.");
    storeText(query.cs_info.teamid, "TEAM1");
    return query;
}

TEST(AdvancedLoading, SignedProgramReadsAFile)
{
    PromptFixture fixture;
    policy_query query = signedQuery("/srv/data/a.txt");
    query.ppid = 55;
    storeText(query.parent_name, "/bin/sh");
    EXPECT_EQ(screenOf(*fixture.openAdvanced(query)),
        "Vossel detected an attempt to read the following file...\n"
        "/opt/Notes (100) < /bin/sh (55)\n"
        "/srv/data/a.txt | AcmeInc. | file .VosselTemp.png\n"
        "path File Extension .txt; Only /srv/data/a.txt; Only /srv/data/; >In /srv/data/;"
        " In /srv/; Any Files;\n"
        "process 3 of 5 [Notes via sh]\n"
        "Read-Write, duration 1 of 4, updates on, pid 0\n"
        "allow, deny");
}

TEST(AdvancedLoading, UnsignedProgramWithoutReadablePaths)
{
    PromptFixture fixture;
    policy_query query = queryFor("/srv/x", OPERATION_EXECUTE, "");
    query.pid = -3;
    query.ppid = 56; // not in the process table
    query.reserved1 = CODE_SIGN_UNSIGNED;
    storeText(query.reserved2, "not signed");
    storeText(query.cs_info.teamid, "TEAM1");
    EXPECT_EQ(screenOf(*fixture.openAdvanced(query)),
        "Vossel detected an attempt to execute the following file...\n"
        "unknown program (-3) < unknown program (56)\n"
        "/srv/x | not signed | file warning.png\n"
        "path Only /srv/x; Only /srv/; >In /srv/; Any Files;\n"
        "process 2 of 3 [unknown program]\n"
        "Execute, duration 1 of 4, updates off disabled, pid 0\n"
        "allow, deny");
}

TEST(AdvancedLoading, LoginItemsStartWithOnce)
{
    PromptFixture fixture;
    policy_query query
        = signedQuery("/Users/ann/Library/Preferences/com.apple.loginitems.plist", 2);
    query.ppid = -9;
    EXPECT_EQ(screenOf(*fixture.openAdvanced(query)),
        "Notes would like to install or modify a login item.\n"
        "/opt/Notes (100) < \n"
        "/Users/ann/Library/Preferences/com.apple.loginitems.plist | AcmeInc. |"
        " file .VosselTemp.png\n"
        "path off File Extension .plist;"
        " >Only /Users/ann/Library/Preferences/com.apple.loginitems.plist;"
        " Only /Users/ann/Library/Preferences/; In /Users/ann/Library/Preferences/;"
        " In /Users/ann/Library/; In /Users/ann/; In /Users/; Any Files;\n"
        "process 2 of 3 [Notes]\n"
        "Read-Write, duration 0 of 4, updates on, pid 0\n"
        "allow, deny");
}

TEST(AdvancedLoading, PacketCaptureDevicesAreOne)
{
    PromptFixture fixture;
    const auto prompt = fixture.openAdvanced(signedQuery("/dev/bpf3"));
    EXPECT_EQ(screenOf(*prompt),
        "Notes would like to intercept network packets.\n"
        "/opt/Notes (100) < \n"
        "/dev/bpf | AcmeInc. | file .VosselTemp.png\n"
        "path off Only /dev/bpf3; >In /dev/bpf;\n"
        "process 2 of 3 [Notes]\n"
        "Read-Write, duration 1 of 4, updates on, pid 0\n"
        "allow, deny");
}

TEST(AdvancedLoading, ReadOnlyDiskImage)
{
    const std::string paths = "path File Extension .txt; Only /Volumes/No #1 & b/a.txt;"
                              " Only /Volumes/No #1 & b/; >In /Volumes/No #1 & b/;"
                              " In /Volumes/; Any Files;\n";
    const struct {
        const char* what;
        const char* image;
        int operation;
        std::string rest;
    } rows[] = {
        {"image", "/Volumes/No #1 & b", 1, "process 1 of 3 [any process]\nRead Only, duration 2"},
        {"image, write", "/Volumes/No #1 & b", 2, "process 2 of 3 [Notes]\nRead-Write, duration 1"},
        {"no image", "/Volumes/Other", 1, "process 2 of 3 [Notes]\nRead-Write, duration 1"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        PromptFixture fixture;
        fixture.host.volumes.diskImages.set({row.image});
        EXPECT_EQ(
            screenOf(*fixture.openAdvanced(signedQuery("/Volumes/No #1 & b/a.txt", row.operation))),
            "Notes would like to access the volume \"No #1 & b\".\n"
            "/opt/Notes (100) < \n"
            "/Volumes/No #1 & b/a.txt | AcmeInc. | file .VosselTemp.png\n"
                + paths + row.rest + " of 4, updates on, pid 0\nallow, deny");
    }
}

TEST(AdvancedLoading, Installation)
{
    const std::string daemon = "/System/Library/PrivateFrameworks/PackageKit.framework/Versions/A"
                               "/Resources/installd";
    for (const std::uint32_t running : {900U, 0U}) {
        PromptFixture fixture;
        fixture.host.processes.add(60, 1, daemon);
        fixture.host.installers.running.set(running);
        policy_query query = signedQuery("/srv/x");
        query.ppid = 60;
        const auto prompt = fixture.openAdvanced(query);
        const std::string head = "/opt/Notes (100) < " + daemon + " (60)\n/srv/x | AcmeInc. | ";
        EXPECT_EQ(screenOf(*prompt),
            running ? "An installer is attempting to install software on this system\n" + head
                    + "icon of Installer.app 256x256\n"
                      "path Only /srv/x; Only /srv/; In /srv/; >Any Files;\n"
                      "process 3 of 4 [any with ancestor installd]\n"
                      "Read-Write, duration 1 of 3, updates on, pid 900\nallow, deny"
                    : "Vossel detected an attempt to read the following file...\n" + head
                    + "file .VosselTemp.png\n"
                      "path Only /srv/x; Only /srv/; >In /srv/; Any Files;\n"
                      "process 2 of 4 [Notes]\n"
                      "Read-Write, duration 1 of 4, updates on, pid 0\nallow, deny");
        EXPECT_EQ(prompt->recommendedPath(), "In /srv/");
        EXPECT_EQ(prompt->ancestors(), (std::map<std::int64_t, std::string>{{3, daemon}}));
    }
}

TEST(AdvancedLoading, PathChoiceAndForeverByTarget)
{
    const struct {
        std::string path;
        bool ownPath; // below the prefix
        bool pathEnabled;
        int segments;
    } rows[] = {
        {"/System/Library/Components/AppleScript.component/x", false, false, 4},
        {"/Users/Shared/Vossel/ann.vossel.rc", true, false, 3},
        {"/Users/Shared/Vossel", true, true, 4},
        {"/x/DAL/AppleCamera.plugin/y", false, false, 4},
        {"/private/var/db/lockdown/x", false, true, 4},
        {":IOKIT/Thing", false, true, 4},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        PromptFixture fixture;
        const auto prompt = fixture.openAdvanced(
            queryFor((row.ownPath ? fixture.directory.path() : "") + row.path));
        EXPECT_EQ(prompt->controls().pathPopUpControl.enabled(), row.pathEnabled);
        EXPECT_EQ(prompt->controls().durationSegmentedControl.segmentCount(), row.segments);
    }
    PromptFixture fixture;
    fixture.forbidRules();
    EXPECT_EQ(
        fixture.openAdvanced(queryFor("/x"))->controls().durationSegmentedControl.segmentCount(),
        3);
}

TEST(AdvancedLoading, UpdatesStayCoveredWhereAMakerIsKnown)
{
    const struct {
        int state;
        std::string_view team;
        const char* program;
        CheckBoxState updates; // checked, enabled, hidden
    } rows[] = {
        {CODE_SIGN_VALID, "TEAM", "/usr/local/bin/x", {true, true, false}},
        {CODE_SIGN_VALID, "TEAM", "/usr/bin/x", {true, false, true}},
        {CODE_SIGN_VALID, "", "/opt/x", {false, false, false}},
        {CODE_SIGN_VALID, "\xff", "/opt/x", {false, false, false}},
        {CODE_SIGN_VALID, "", "/System/x", {false, false, true}},
        {CODE_SIGN_INVALID, "TEAM", "/opt/x", {false, false, false}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.program) + " " + std::string(row.team));
        PromptFixture fixture;
        policy_query query = queryFor("/x", OPERATION_READ, row.program);
        query.reserved1 = row.state;
        storeText(query.cs_info.teamid, row.team);
        EXPECT_EQ(
            fixture.openAdvanced(query)->controls().allowUpdatesCheckBox.state(), row.updates);
    }
}

TEST(AdvancedLoading, AnswerOnTheTouchBarOnlyAtOne)
{
    for (const int value : {1, 2}) {
        PromptFixture fixture;
        fixture.writePreferences({{"ui.prompts.oob", value}});
        const auto prompt = fixture.openAdvanced(queryFor("/x"));
        EXPECT_EQ(prompt->requireTouchBar(), value == 1);
        EXPECT_TRUE(screenOf(*prompt).ends_with(
            value == 1 ? "\nallow hidden, deny hidden, on the touch bar" : "\nallow, deny"));
    }
}

TEST(AdvancedLoading, WindowKeepsTheScreenUntilItResigns)
{
    PromptFixture fixture;
    fixture.host.windows.commandKey.set(true);
    fixture.present(queryFor("/x"));
    QMPermissionsWindow* prompt = fixture.presenter.advanced;
    ASSERT_TRUE(prompt);
    EXPECT_TRUE(prompt->frame().allowButton.highlighted());
    EXPECT_EQ(fixture.presenter.calls, std::vector<std::string>{"opened"});
    WindowState state{{0, 0, 560, 360}, true, 257, 144 | 0x8000, WindowLevel{14}, false, false, 1,
        true, true, true, true, Appearance::VibrantLight, ContentEffect{EffectMaterial{6}}, 643,
        {}};
    EXPECT_EQ(prompt->frame().window.state(), state);

    const auto kept = prompt->shared_from_this();
    fixture.broker.cancelQuery();
    state.level = WindowLevel{4};
    state.hidesOnDeactivate = state.canHide = true;
    state.firstResponder = state.keyWindow = state.mainWindow = false;
    EXPECT_EQ(kept->frame().window.state(), state);
    EXPECT_EQ(fixture.host.windows.acts.get(),
        (std::vector<std::string>{"activate", "activate", "deactivate", "hide"}));
    EXPECT_EQ(fixture.presenter.calls, (std::vector<std::string>{"opened", "closed"}));
}

TEST(AdvancedLoading, ProcessMenuFitsItsLongestTitleWithinTheLayout)
{
    const struct {
        std::string program;
        double width; // 6.5 points a byte and 35 for the arrow
    } rows[] = {
        {"/opt/ab", 35 + 6.5 * 11}, // "any process"
        {"/opt/" + std::string(20, 'n'), 35 + 6.5 * 20},
        {"/opt/" + std::string(90, 'n'), 410},
    };
    for (const auto& row : rows) {
        PromptFixture fixture;
        const auto prompt = fixture.openAdvanced(queryFor("/x", OPERATION_READ, row.program));
        EXPECT_EQ(prompt->controls().applicationNamePopUp.frame(), (Rect{130, 276, row.width, 26}));
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
    const auto prompt = fixture.openAdvanced(query);
    EXPECT_EQ(prompt->controls().filenameTextField.stringValue().size(), 1024U);
    EXPECT_EQ(prompt->controls().applicationParentPathTextField.stringValue(),
        "/" + std::string(1023, 'r') + " (9)");
}

}
}
