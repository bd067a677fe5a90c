#include "prompt_fixture.h"

#include <gtest/gtest.h>

namespace vossel::test {
namespace {

using Lines = std::vector<std::string>;

struct SimpleFixture : PromptFixture {
    SimpleFixture() { writePreferences({}); }
};

std::string screenOf(const QMSimplePermissionsWindow& prompt)
{
    const SimplePermissionsControls& controls = prompt.controls();
    const PromptFrame& frame = prompt.frame();
    return controls.applicationNameTextField.stringValue() + " | "
        + controls.activityDescriptionTextField.stringValue() + " | "
        + controls.informationTextField.stringValue() + " | "
        + describe(frame.applicationIconImageView.image()) + "\n"
        + describe(controls.untilQuitButtonCell, "quit") + ", "
        + describe(controls.untilRestartButtonCell, "restart") + ", "
        + describe(controls.foreverButtonCell, "forever") + ", "
        + describe(controls.foreverTextLabel, "label") + ": "
        + std::to_string(prompt.selectedDuration()) + "\n" + describe(frame.allowButton, "allow")
        + ", " + describe(frame.denyButton, "deny")
        + (frame.touchBarLabel.hidden() ? "" : ", on the touch bar");
}

TEST(SimplePrompt, LoadsAndFollowsTheDurationChoice)
{
    SimpleFixture fixture;
    policy_query query = queryFor("/srv/x", OPERATION_READ, "/opt/Notes", "/bin/sh");
    query.reserved1 = CODE_SIGN_VALID;
    storeText(query.reserved2, "a\tb\tAcme\nInc.");
    const auto prompt = fixture.openSimple(query);
    const std::string head = "Notes via sh | Notes via sh would like to access the file /srv/x |"
                             " AcmeInc. | file .VosselTemp.png\n";
    EXPECT_EQ(screenOf(*prompt), head + "quit on, restart, forever, label: 1\nallow, deny");
    prompt->clickedForever();
    EXPECT_EQ(screenOf(*prompt), head + "quit, restart, forever on, label: 3\nallow, deny");
    fixture.presenter.calls.clear();
    prompt->clickedUntilRestart();
    EXPECT_EQ(screenOf(*prompt), head + "quit, restart on, forever, label: 2\nallow, deny");
    EXPECT_EQ(fixture.presenter.calls, Lines{"changed"});
    prompt->setAllowButtonHighlight(1);
    EXPECT_TRUE(screenOf(*prompt).ends_with("allow highlighted, deny"));
    prompt->setAllowButtonHighlight(2);
    EXPECT_TRUE(screenOf(*prompt).ends_with("allow, deny"));
}

TEST(SimplePrompt, ForeverIsNotForEverybodyAndEverything)
{
    for (const bool rulesFolder : {true, false}) {
        SimpleFixture fixture;
        if (!rulesFolder)
            fixture.forbidRules();
        const auto prompt = fixture.openSimple(
            queryFor(rulesFolder ? fixture.directory / "Users/Shared/Vossel/x" : "/srv/x"));
        prompt->clickedForever();
        EXPECT_NE(screenOf(*prompt).find("quit on, restart, forever hidden, label hidden: 1"),
            std::string::npos)
            << screenOf(*prompt);
        EXPECT_NE(screenOf(*prompt).find("file warning.png"), std::string::npos);
    }
}

TEST(SimplePrompt, DecidesOnMoreThanWasAskedFor)
{
    const struct {
        const char* path;
        const char* decided;
    } rows[] = {
        {"/Users/ann/Documents/notes/a.txt", "/Users/ann/Documents/"},
        {"/Users/ann/Library/Preferences/x.plist", "/Users/ann/Library/"},
        {"/Users/ann/notes.txt", "/Users/ann/notes.txt"},
        {"/Users/ann", "/Users/ann"},
        {"/Users/ann/", "/Users/ann/"},
        {"/Users/anna/Documents/a.txt", "/Users/anna/Documents/a.txt"},
        {"/Users/ann/Library/LaunchAgents/x/y.plist", "/Users/ann/Library/LaunchAgents/"},
        {"/Users/ann/Library/LaunchAgents", "/Users/ann/Library/"},
        {"/Applications/Maps.app/x", "/Applications/"},
        {"/Volumes/Disk/a/b", "/Volumes/Disk/"},
        {"/dev/bpf12", "/dev/bpf"},
        {"/srv/a/b", "/srv/a/b"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        SimpleFixture fixture;
        const auto prompt = fixture.openSimple(queryFor(row.path));
        prompt->clickedAllow();
        prompt->clickedUntilRestart();
        prompt->clickedDeny();
        prompt->clickedAdvanced();
        EXPECT_EQ(fixture.delegate.handedOver,
            (Lines{std::string("allow ") + row.decided + " constraint 2 for 1",
                std::string("deny ") + row.decided + " constraint 2 for 2",
                std::string("advanced ") + row.path + " constraint 0"}));
    }
}

TEST(SimplePrompt, HomeFoldersThatHoldEverythingWidenNothing)
{
    for (const char* home : {"", "/"}) {
        SimpleFixture fixture;
        fixture.host.accounts.facts.with([&](auto& facts) { facts.homeDirectory = home; });
        fixture.openSimple(queryFor("/srv/a/b"))->clickedDeny();
        EXPECT_EQ(fixture.delegate.handedOver, Lines{"deny /srv/a/b constraint 2 for 1"});
    }
}

TEST(SimplePrompt, LongNamesShrink)
{
    const struct {
        std::size_t length;
        float size; // half the size is a character's width; 350 points are there
    } rows[] = {{29, 24}, {40, 17.5}, {100, 12}};
    for (const auto& row : rows) {
        SimpleFixture fixture;
        const auto prompt = fixture.openSimple(
            queryFor("/x", OPERATION_READ, "/opt/" + std::string(row.length, 'n')));
        const TextField& name = prompt->controls().applicationNameTextField;
        EXPECT_EQ(name.fontSize(), row.size);
        EXPECT_EQ(name.truncation(), Truncation::Middle);
        EXPECT_LE(name.frame().width, 350);
    }
}

TEST(SimplePrompt, AuthenticationAndTouchBarOnly)
{
    SimpleFixture fixture;
    fixture.writePreferences({{"ui.prompts.oob", 1}, {"ui.prompts.authenticate", 1}});
    const auto prompt = fixture.openSimple(queryFor("/x"));
    EXPECT_TRUE(screenOf(*prompt).ends_with("allow hidden, deny hidden, on the touch bar"));
    const Lines both{".deny", ".allow"};
    EXPECT_EQ(prompt->touchBar(), (TouchBar{".touchBar", both, both, ".allow"}));
    prompt->clickedForever();
    prompt->makeItemForIdentifier(".allow").view->action(); // she is no administrator
    EXPECT_EQ(fixture.delegate.handedOver, Lines{"deny /x constraint 2 for 0"});
    fixture.host.authenticator.duringDialog.set([&] { prompt->close(); });
    fixture.host.authenticator.isAdministrator.set(true);
    prompt->clickedAllow();
    EXPECT_EQ(fixture.delegate.handedOver.size(), 1U);
}

TEST(SimplePrompt, SwitchesToTheAdvancedPrompt)
{
    const struct {
        void (SimplePrompt::*choose)();
        int segment;
    } rows[] = {
        {&SimplePrompt::clickedUntilQuit, 0}, // the advanced prompt's own choice stays: once
        {&SimplePrompt::clickedUntilRestart, 2},
        {&SimplePrompt::clickedForever, 3},
    };
    for (const auto& row : rows) {
        SimpleFixture fixture;
        const std::string path = "/Users/ann/Library/Preferences/com.apple.loginitems.plist";
        fixture.present(queryFor(path));
        ASSERT_TRUE(fixture.presenter.simple);
        (fixture.presenter.simple->*row.choose)();
        fixture.presenter.simple->clickedAdvanced();
        ASSERT_TRUE(fixture.presenter.advanced);
        EXPECT_FALSE(fixture.presenter.simple);
        const PermissionsControls& controls = fixture.presenter.advanced->controls();
        EXPECT_EQ(controls.filenameTextField.stringValue(), path);
        EXPECT_EQ(controls.durationSegmentedControl.selectedSegment(), row.segment);
        fixture.presenter.advanced->clickedAllow();
        EXPECT_EQ(fixture.wait->response().path, path);
        EXPECT_EQ(fixture.wait->response().duration, row.segment);
        EXPECT_EQ(fixture.wait->response().pathType, PATH_EXACT);
    }
}

}
}
