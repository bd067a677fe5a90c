#include "prompt_fixture.h"

#include <gtest/gtest.h>

namespace vossel::test {
namespace {

constexpr std::uint32_t commandKey = 1U << 20;
constexpr std::uint32_t shiftKey = 1U << 17;

KeyEvent command(std::string characters, std::uint32_t others = 0, std::uint16_t code = 0)
{
    return {code, std::move(characters), commandKey | others};
}

KeyEvent plain(std::uint16_t code, std::string characters = {})
{
    return {code, std::move(characters), shiftKey};
}

// A prompt of the broker's: nobody else keeps it, so a key may be the last thing it sees.
struct KeyboardFixture : PromptFixture {
    explicit KeyboardFixture(bool advanced, std::int64_t touchBarOnly = 0)
    {
        writePreferences(
            {{"access.user.detail", advanced ? 2 : 0}, {"ui.prompts.oob", touchBarOnly}});
        present(queryFor("/srv/data/a.txt", OPERATION_READ, "/opt/Notes", "/bin/sh"));
    }
    [[nodiscard]] const PromptFrame& frame() const
    {
        return presenter.simple ? presenter.simple->frame() : presenter.advanced->frame();
    }
    // What the key has led to: a decision, or what is chosen now; "!" for an alert sound.
    std::string press(const KeyEvent& event)
    {
        const int before = host.alertSound.played.get();
        frame().window.keyDown(event);
        const std::string sounds(
            static_cast<std::size_t>(host.alertSound.played.get() - before), '!');
        if (wait->isOver())
            return (wait->response().decision == DECISION_ALLOW ? "allow" : "deny") + sounds;
        if (presenter.simple)
            return std::to_string(presenter.simple->selectedDuration()) + sounds;
        const PermissionsControls& controls = presenter.advanced->controls();
        return std::to_string(controls.durationSegmentedControl.selectedSegment()) + " path "
            + std::to_string(controls.pathPopUpControl.selectedIndex()) + " process "
            + std::to_string(controls.applicationNamePopUp.selectedIndex()) + sounds;
    }
};

TEST(Keyboard, ShapesTheAnswer)
{
    KeyboardFixture advanced(true);
    KeyboardFixture simple(false);
    const std::string letters = "41FOqR2rofQ3"; // and the duration that each leads to
    const std::string ofAdvanced = "303012120312";
    const std::string ofSimple = "333312122312";
    for (std::size_t i = 0; i < letters.size(); ++i) {
        const KeyEvent key = command({letters[i], '4'}, i % 2 == 0 ? 0 : shiftKey);
        EXPECT_EQ(advanced.press(key), ofAdvanced[i] + std::string(" path 3 process 3"))
            << letters[i];
        EXPECT_EQ(simple.press(key), std::string(1, ofSimple[i])) << letters[i];
    }
    const std::pair<std::uint16_t, const char*> arrows[]
        = {{123, " path 4 process 3"}, {124, " path 3 process 3"}, {124, " path 2 process 3"},
            {125, " path 2 process 4"}, {125, " path 2 process 4"}, {126, " path 2 process 3"}};
    for (const auto& [code, chosen] : arrows) {
        EXPECT_EQ(advanced.press(plain(code, "1")), std::string("2") + chosen);
        EXPECT_EQ(simple.press(plain(code)), "2");
    }
    for (const KeyEvent& key : {plain(36, "\r"), plain(0), command(""), command("5"),
             command("\xc3\xb3"), command("\x1b", {}, 53), command("\xef\x9c\x82", {}, 123)}) {
        EXPECT_EQ(advanced.press(key), "2 path 2 process 3!") << key.charactersIgnoringModifiers;
        EXPECT_EQ(simple.press(key), "2!") << key.charactersIgnoringModifiers;
    }
}

TEST(Keyboard, DecidesUnlessTheTouchBarMust)
{
    const std::pair<KeyEvent, const char*> rows[]
        = {{command("\r"), "allow"}, {command("\x03"), "allow"}, {plain(53, "\x1b"), "deny"}};
    for (const auto& [key, decision] : rows) {
        EXPECT_EQ(KeyboardFixture(true).press(key), decision);
        EXPECT_EQ(KeyboardFixture(false, 2).press(key), decision); // one alone stands for yes
        EXPECT_EQ(KeyboardFixture(true, 1).press(key), "1 path 3 process 3!");
        EXPECT_EQ(KeyboardFixture(false, 1).press(key), "1!");
    }
}

TEST(Keyboard, CommandHighlightsAllowAndGivesNobodyMoreRights)
{
    for (const bool advanced : {true, false}) {
        KeyboardFixture fixture(advanced);
        for (const std::uint32_t flags : {shiftKey, commandKey | shiftKey, shiftKey, commandKey}) {
            fixture.frame().window.flagsChanged({flags});
            EXPECT_EQ(fixture.frame().allowButton.highlighted(), (flags & commandKey) != 0);
        }
        fixture.forbidRules();
        EXPECT_EQ(fixture.press(command("f")), advanced ? "1 path 3 process 3" : "1");
    }
}

TEST(Keyboard, KeysOfAClosedPromptDoNotReachTheNext)
{
    KeyboardFixture fixture(true);
    const auto closed = fixture.presenter.advanced->shared_from_this();
    const auto pressAll = [&] {
        for (const KeyEvent& key : {command("1"), command("\r"), plain(123), plain(125), plain(53)})
            closed->frame().window.keyDown(key);
        closed->frame().window.flagsChanged({commandKey});
    };
    fixture.broker.cancelQuery();
    pressAll(); // no prompt is open
    fixture.wait = std::make_shared<QueryWait>();
    fixture.present(queryFor("/srv/x"));
    pressAll();
    EXPECT_EQ(fixture.press(command("q")), "1 path 2 process 2");
}

// The preference is written anew for the same prompt.
TEST(SyntheticInput, IsDroppedAndTold)
{
    const struct {
        EventSource source;
        std::int64_t remote;
        std::optional<UserId> deviceAccount;
        const char* from; // empty: taken
    } rows[] = {
        {{}, 0, {}, ""},
        {{300, 501}, 0, {}, "remote (300)"},
        {{300, 501}, 1, {}, ""},
        {{300, 501}, 2, {}, "remote (300)"},
        {{300, 0}, 0, {}, ""}, // root's
        {{0, 501}, 0, {}, ""},
        {{300, 261}, 0, 261, ""},
        {{300, 501}, 0, 261, "remote (300)"},
        {{-7, 261}, 0, {}, "unknown program (-7)"},
    };
    KeyboardFixture fixture(true);
    SimulatedHost& host = fixture.host;
    host.processes.add(300, 1, "/opt/remote");
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.source.processId << " with " << row.remote);
        fixture.writePreferences({{"ui.prompts.remote", row.remote}});
        host.accounts.facts.with([&](auto& facts) {
            facts.accounts.erase("_hidd");
            if (row.deviceAccount)
                facts.accounts["_hidd"] = *row.deviceAccount;
        });
        host.notifications.delivered.set({});
        const std::string from = row.from;
        const PromptFrame& frame = fixture.frame();
        EXPECT_EQ(fixture.press({0, "x", 0, row.source}).ends_with('!'), from.empty());
        EXPECT_EQ(frame.allowButton.mouseDown({row.source}), from.empty());
        EXPECT_EQ(frame.denyButton.mouseDown({row.source}), from.empty());
        Lines told;
        for (const UserNotification& notification : host.notifications.delivered.get())
            told.push_back(notification.informativeText);
        const std::string clicks = "Ignored software-composed mouse clicks from " + from;
        EXPECT_EQ(told,
            from.empty()
                ? Lines{}
                : (Lines{"Ignored software-composed keypresses from " + from, clicks, clicks}));
    }
    EXPECT_EQ(fixture.press({53, "\x1b", 0, {300, 501}}), "1 path 3 process 3");
}

}
}
