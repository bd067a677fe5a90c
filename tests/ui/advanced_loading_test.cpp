#include "prompt_fixture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vossel::test {
namespace {

std::string textsOf(const PromptFixture& fixture)
{
    const PromptView view = fixture.shown->view();
    return view.sentence + "\n" + view.displayName + ": " + view.application.text + " < "
        + view.parent.text + "\n" + view.file.text + " | " + view.signer.text + " | "
        + view.signer.sentence + " | " + fixture.icon();
}

// What is chosen; "!" behind an entry that is not the recommended one.
std::string chosen(const PromptView::Choices& choices)
{
    return choices.entries.at(static_cast<std::size_t>(choices.selected)).title
        + (choices.selected == choices.recommended ? "" : "!");
}

std::string choicesOf(const PromptView& view)
{
    EXPECT_EQ(chosen(view.processes), view.processes.title);
    const auto present = std::count_if(view.durations.begin(), view.durations.end(),
        [](const PromptView::Duration& duration) { return duration.present; });
    return (view.paths.enabled ? "" : "fixed ") + chosen(view.paths) + ", " + view.processes.title
        + ", " + view.operations + ", " + std::to_string(view.duration) + " of "
        + std::to_string(present);
}

TEST(AdvancedLoading, ShowsWhatTheQuerySays)
{
    policy_query known = queryFor("/srv/a.txt", OPERATION_READ, "/opt/Notes", "/bin/sh");
    known.ppid = 55;
    known.reserved1 = CODE_SIGN_VALID;
    storeText(known.reserved2, "a\tb\tAcme\nInc.");
    policy_query unknown = queryFor("/dev/bpf3", OPERATION_EXECUTE, "");
    unknown.pid = -3;
    unknown.ppid = 60; // the process table has its path
    unknown.reserved1 = CODE_SIGN_UNSIGNED;
    storeText(unknown.reserved2, "not signed");
    const std::pair<policy_query, std::string> rows[] = {
        {known,
            "Vossel detected an attempt to read the following file...\n"
            "Notes via sh: /opt/Notes (100) < /bin/sh (55)\n"
            "/srv/a.txt | AcmeInc. | Signed by AcmeInc. | .VosselTemp.png"},
        {unknown,
            "unknown program would like to intercept network packets.\n"
            "unknown program: unknown program (-3) < /sbin/second (60)\n"
            "/dev/bpf | not signed | not signed | warning.png"},
        {queryFor("/srv/x"),
            "Vossel detected an attempt to read the following file...\n"
            "Notes: /opt/Notes (100) < \n/srv/x |  | Not signed | warning.png"},
    };
    for (const auto& [query, texts] : rows) {
        PromptFixture fixture;
        fixture.host.processes.add(60, 1, "/sbin/second");
        fixture.present(query);
        EXPECT_EQ(textsOf(fixture), texts);
    }
}

TEST(AdvancedLoading, RecommendsByTarget)
{
    const std::string loginItems = "/Users/ann/Library/Preferences/com.apple.loginitems.plist";
    const std::string script = "/System/Library/Components/AppleScript.component/";
    const std::string volume = "/Volumes/No #1 & b/";
    const std::string ordinary = ", Notes, Read-Write, 1 of 4";
    const struct {
        std::string path;
        std::string choices;
        std::int32_t operation = OPERATION_READ;
        std::uint32_t installer = 0;
    } rows[] = {
        {"/srv/x", "In /srv/, Notes, Execute, 1 of 4", OPERATION_EXECUTE},
        {loginItems, "fixed Only " + loginItems + ", Notes, Read-Write, 0 of 4", OPERATION_WRITE},
        {"/dev/bpf3", "fixed In /dev/bpf" + ordinary},
        {script + "x", "fixed In " + script + ordinary},
        {"/x/DAL/AppleCamera.plugin/y", "fixed In /x/DAL/AppleCamera.plugin/" + ordinary},
        {":IOKIT/Thing", "Only :IOKIT/Thing" + ordinary},
        {volume + "a", "In " + volume + ", any process, Read Only, 2 of 4"},
        {volume + "a", "In " + volume + ordinary, OPERATION_WRITE},
        {"/Volumes/Disk/a", "In /Volumes/Disk/" + ordinary}, // no image
        {"/srv/x", "Any Files!, any with ancestor installd, Read-Write, 1 of 3", OPERATION_READ,
            900},
    };
    for (const auto& row : rows) {
        PromptFixture fixture;
        fixture.host.volumes.diskImages.set({volume.substr(0, volume.size() - 1)});
        fixture.host.processes.add(60, 1, fixture.host.installers.daemon.get());
        fixture.host.installers.running.set(row.installer);
        policy_query query = queryFor(row.path, row.operation);
        query.ppid = 60;
        const QMPermissionsWindow& prompt = fixture.open(query);
        EXPECT_EQ(choicesOf(prompt.view()), row.choices);
        EXPECT_EQ(prompt.view().installerPid, row.installer);
        const std::string texts = textsOf(fixture);
        EXPECT_EQ(texts.starts_with("An installer is attempting"), row.installer != 0);
        EXPECT_EQ(texts.ends_with("| Installer.app"), row.installer != 0);
    }
}

TEST(AdvancedLoading, UpdatesStayCoveredWhereAMakerIsKnown)
{
    using Row = std::tuple<int, const char*, const char*, CheckBoxState>; // on, enabled, hidden
    for (const auto& [state, team, program, updates] :
        {Row{CODE_SIGN_VALID, "TEAM", "/usr/local/bin/x", {true, true, false}},
            Row{CODE_SIGN_VALID, "TEAM", "/usr/bin/x", {true, false, true}},
            Row{CODE_SIGN_VALID, "\xff", "/opt/x", {false, false, false}},
            Row{CODE_SIGN_VALID, "", "/System/x", {false, false, true}},
            Row{CODE_SIGN_INVALID, "TEAM", "/opt/x", {false, false, false}}}) {
        PromptFixture fixture;
        policy_query query = queryFor("/x", OPERATION_READ, program);
        query.reserved1 = state;
        storeText(query.cs_info.teamid, team);
        EXPECT_EQ(fixture.open(query).view().updates, updates) << program;
    }
}

TEST(AdvancedLoading, WindowKeepsTheScreenUntilItResigns)
{
    PromptFixture fixture;
    fixture.host.windows.commandKey.set(true);
    const auto prompt = fixture.open(queryFor("/x")).shared_from_this();
    EXPECT_TRUE(prompt->view().allow.highlighted);
    WindowState state{{0, 0, 560, 360}, true, 257, 144 | 0x8000, WindowLevel{14}, false, false, 1,
        true, true, true, true, Appearance::VibrantLight, false, ContentEffect{EffectMaterial{6}},
        643, {}};
    EXPECT_EQ(prompt->frame().window.state(), state);

    fixture.broker.cancelQuery();
    state.level = WindowLevel{4};
    state.hidesOnDeactivate = state.canHide = true;
    state.firstResponder = state.keyWindow = state.mainWindow = false;
    EXPECT_EQ(prompt->frame().window.state(), state);
    EXPECT_EQ(
        fixture.host.windows.acts.get(), (Lines{"activate", "activate", "deactivate", "hide"}));
    EXPECT_EQ(fixture.calls, (Lines{"opened", "closed"}));
}

TEST(AdvancedLoading, ProcessMenuFitsItsLongestTitleWithinTheLayout)
{
    PromptFixture fixture;
    // 6.5 points a byte and 35 for the arrow; "any process" is the longest at first.
    const std::pair<std::size_t, double> rows[]
        = {{2, 35 + 6.5 * 11}, {20, 35 + 6.5 * 20}, {90, 410}};
    for (const auto& [length, width] : rows) {
        fixture.present(queryFor("/x", OPERATION_READ, "/opt/" + std::string(length, 'n')));
        EXPECT_EQ(
            fixture.advanced->controls().applicationNamePopUp.frame(), (Rect{130, 276, width, 26}));
    }
}

TEST(AdvancedLoading, RecordsWithoutANulAreReadToTheirEnd)
{
    PromptFixture fixture;
    policy_query query;
    std::memset(&query, '/', sizeof query);
    const PermissionsControls& controls = fixture.open(query).controls();
    const std::string name(1024, '/');
    EXPECT_EQ(controls.filenameTextField.stringValue(), name);
    EXPECT_EQ(controls.applicationParentPathTextField.stringValue(), name + " (791621423)");
}

}
}
