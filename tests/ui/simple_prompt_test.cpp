#include "prompt_fixture.h"

#include <gtest/gtest.h>

namespace vossel::test {
namespace {

struct SimplePromptTest : testing::Test, PromptFixture {
    SimplePromptTest() { writePreferences({}); }

    // The texts and the icon, the duration; "*" for each button that is on, "-" for a hidden one.
    [[nodiscard]] std::string screen() const
    {
        const SimplePermissionsControls& controls = simple->controls();
        const PromptView view = simple->view();
        std::string text = view.name.text + " | " + view.sentence + " | " + view.signer.sentence
            + " | " + view.application.text + " < " + view.parent.text + " | " + view.file.text
            + " | " + icon() + " | " + std::to_string(view.duration) + " ";
        for (const Button* button :
            {&controls.untilQuitButtonCell, &controls.untilRestartButtonCell,
                &controls.foreverButtonCell, &controls.foreverTextLabel})
            text += button->hidden() ? '-' : button->on() ? '*' : '.';
        return text;
    }
};

TEST_F(SimplePromptTest, LoadsAndFollowsTheDurationChoice)
{
    policy_query query = queryFor("/srv/x", OPERATION_READ, "/opt/Notes", "/bin/sh");
    query.ppid = 55;
    query.reserved1 = CODE_SIGN_VALID;
    storeText(query.reserved2, "a\tb\tAcme\nInc.");
    present(query);
    const std::string head = "Notes via sh | Notes via sh would like to access the file /srv/x |"
                             " Signed by AcmeInc. | /opt/Notes (100) < /bin/sh (55) | /srv/x |"
                             " .VosselTemp.png | ";
    EXPECT_EQ(screen(), head + "1 *...");
    simple->clickedForever();
    EXPECT_EQ(screen(), head + "3 ..*.");
    simple->clickedUntilRestart();
    EXPECT_EQ(screen(), head + "2 .*..");
    EXPECT_EQ(calls, (Lines{"opened", "changed", "changed"}));
    broker.clickDeny();
    EXPECT_EQ(describe(wait->response()), "deny 2 0 0 7 0 constraint 2 in /srv/x");
}

TEST_F(SimplePromptTest, ForeverIsNotForEverybodyAndEverything)
{
    for (const std::string& path : {pathOfRules(), std::string("/srv/x")}) {
        if (path == "/srv/x")
            forbidRules();
        present(queryFor(path));
        simple->clickedForever();
        EXPECT_TRUE(screen().ends_with("warning.png | 1 *.--"));
    }
}

TEST_F(SimplePromptTest, DecidesOnMoreThanWasAskedFor)
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
        {"/srv/a/b", "/srv/a/b", "/"}, // a home that holds everything widens nothing
        {"/srv/a/b", "/srv/a/b", ""},
    };
    for (const auto& row : rows) {
        host.accounts.facts.with([&](auto& facts) { facts.homeDirectory = row.home; });
        present(queryFor(row.path));
        broker.clickAllow();
        EXPECT_EQ(describe(wait->response()),
            std::string("allow 1 0 0 7 0 constraint 2 in ") + row.decided)
            << row.path;
    }
}

TEST_F(SimplePromptTest, SwitchesToTheAdvancedPromptForThisQueryOnly)
{
    host.accounts.makeAdministrator();
    (void)writeFile(directories.simpleModeMarker("ann"), "");
    const std::string loginItems = "/Users/ann/Library/Preferences/com.apple.loginitems.plist";
    const std::tuple<std::string, void (SimplePrompt::*)(), std::string> rows[] = {
        // The advanced prompt's own choice stays: once.
        {loginItems, &SimplePrompt::clickedUntilQuit, "0 0 2 7 0 constraint 1 only " + loginItems},
        // Coming from here, the folder alone is not offered even to an administrator.
        {"/srv/x/", &SimplePrompt::clickedForever, "3 0 2 7 0 constraint 1 only "},
    };
    for (const auto& [path, choose, decided] : rows) {
        present(queryFor(path));
        ASSERT_TRUE(simple); // again after the first
        (simple->*choose)();
        simple->clickedAdvanced();
        ASSERT_TRUE(advanced && !simple);
        advanced->clickedAllow();
        EXPECT_EQ(describe(wait->response()), "allow " + decided);
    }
}

}
}
