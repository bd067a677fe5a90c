#include "prompt_fixture.h"

#include <gtest/gtest.h>

namespace vossel::test {
namespace {

using Window = QMSimplePermissionsWindow;

std::string screenOf(const Window& prompt)
{
    const SimplePermissionsControls& controls = prompt.controls();
    return controls.applicationNameTextField.stringValue() + " | "
        + controls.activityDescriptionTextField.stringValue() + " | "
        + controls.informationTextField.stringValue() + " | "
        + describe(prompt.frame().applicationIconImageView.image()) + "\n"
        + describe(controls.untilQuitButtonCell, "quit") + ", "
        + describe(controls.untilRestartButtonCell, "restart") + ", "
        + describe(controls.foreverButtonCell, "forever") + ", "
        + describe(controls.foreverTextLabel, "label") + ": "
        + std::to_string(prompt.selectedDuration()) + "\n" + describe(prompt.frame());
}

TEST(SimplePrompt, LoadsAndFollowsTheDurationChoice)
{
    PromptFixture fixture;
    policy_query query = queryFor("/srv/x", OPERATION_READ, "/opt/Notes", "/bin/sh");
    query.reserved1 = CODE_SIGN_VALID;
    storeText(query.reserved2, "a\tb\tAcme\nInc.");
    const auto prompt = fixture.open<Window>(query);
    const std::string head = "Notes via sh | Notes via sh would like to access the file /srv/x |"
                             " AcmeInc. | file .VosselTemp.png\n";
    EXPECT_EQ(screenOf(*prompt), head + "quit on, restart, forever, label: 1\nallow, deny");
    prompt->clickedForever();
    EXPECT_EQ(screenOf(*prompt), head + "quit, restart, forever on, label: 3\nallow, deny");
    fixture.presenter.calls.clear();
    prompt->clickedUntilRestart();
    EXPECT_EQ(screenOf(*prompt), head + "quit, restart on, forever, label: 2\nallow, deny");
    EXPECT_EQ(fixture.presenter.calls, Lines{"changed"});
}

TEST(SimplePrompt, ForeverIsNotForEverybodyAndEverything)
{
    for (const bool rulesFolder : {true, false}) {
        PromptFixture fixture;
        if (!rulesFolder)
            fixture.forbidRules();
        const auto prompt = fixture.open<Window>(
            queryFor(rulesFolder ? fixture.directory / "Users/Shared/Vossel/x" : "/srv/x"));
        prompt->clickedForever();
        EXPECT_TRUE(screenOf(*prompt).ends_with("| file warning.png\n"
                                                "quit on, restart, forever hidden, label hidden: 1"
                                                "\nallow, deny"));
    }
}

TEST(SimplePrompt, DecidesOnMoreThanWasAskedFor)
{
    const struct {
        const char* path;
        const char* decided;
        const char* home = "/Users/ann";
    } rows[] = {
        {"/Users/ann/Documents/notes/a.txt", "/Users/ann/Documents/"},
        {"/Users/ann/notes.txt", "/Users/ann/notes.txt"},
        {"/Users/ann/", "/Users/ann/"},
        {"/Users/anna/Documents/a.txt", "/Users/anna/Documents/a.txt"},
        {"/Users/ann/Library/LaunchAgents/x/y.plist", "/Users/ann/Library/LaunchAgents/"},
        {"/Users/ann/Library/LaunchAgents", "/Users/ann/Library/"},
        {"/Volumes/Disk/a/b", "/Volumes/Disk/"},
        {"/dev/bpf12", "/dev/bpf"},
        {"/srv/a/b", "/srv/a/b"},
        {"/srv/a/b", "/srv/a/b", "/"}, // a home that holds everything widens nothing
        {"/srv/a/b", "/srv/a/b", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        PromptFixture fixture;
        fixture.host.accounts.facts.with([&](auto& facts) { facts.homeDirectory = row.home; });
        const auto prompt = fixture.open<Window>(queryFor(row.path));
        prompt->clickedAllow();
        prompt->clickedUntilRestart();
        prompt->clickedDeny();
        prompt->clickedAdvanced();
        EXPECT_EQ(fixture.delegate.handedOver,
            (Lines{std::string("allow ") + row.decided + " constraint 2 for 1",
                std::string("deny ") + row.decided + " constraint 2 for 2",
                std::string("advanced ") + row.path + " constraint 0 for -1"}));
    }
}

TEST(SimplePrompt, AuthenticationAndTouchBarOnly)
{
    PromptFixture fixture;
    fixture.writePreferences({{"ui.prompts.oob", 1}, {"ui.prompts.authenticate", 1}});
    const auto prompt = fixture.open<Window>(queryFor("/x"));
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

TEST(SimplePrompt, SwitchesToTheAdvancedPromptForThisQueryOnly)
{
    const std::string loginItems = "/Users/ann/Library/Preferences/com.apple.loginitems.plist";
    const struct {
        std::string path;
        void (SimplePrompt::*choose)();
        std::string decided;
        int segment;
    } rows[] = {
        // The advanced prompt's own choice stays: once.
        {loginItems, &SimplePrompt::clickedUntilQuit, loginItems, 0},
        // Coming from here, the folder alone is not offered even to an administrator.
        {"/srv/x/", &SimplePrompt::clickedForever, "", 3},
    };
    for (const auto& row : rows) {
        PromptFixture fixture;
        fixture.host.accounts.makeAdministrator();
        (void)writeFile(fixture.directories.simpleModeMarker("ann"), "");
        fixture.present(queryFor(row.path));
        ASSERT_TRUE(fixture.presenter.simple);
        (fixture.presenter.simple->*row.choose)();
        fixture.presenter.simple->clickedAdvanced();
        ASSERT_TRUE(fixture.presenter.advanced && !fixture.presenter.simple);
        EXPECT_FALSE(fixture.broker.simpleMode());
        fixture.presenter.advanced->clickedAllow();
        EXPECT_TRUE(fixture.broker.simpleMode());
        EXPECT_EQ(fixture.wait->response().path, row.decided);
        EXPECT_EQ(fixture.wait->response().duration, row.segment);
        EXPECT_EQ(fixture.wait->response().pathType, PATH_EXACT);
    }
}

}
}
