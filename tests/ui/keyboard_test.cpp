#include "prompt_fixture.h"

#include <gtest/gtest.h>

namespace vossel::test {
namespace {

constexpr std::uint32_t commandKey = 1U << 20;
constexpr std::uint32_t shiftKey = 1U << 17;

struct KeyboardFixture : PromptFixture {
    explicit KeyboardFixture(bool advancedPrompt, std::int64_t touchBarOnly = 0)
    {
        writePreferences(
            {{"access.user.detail", advancedPrompt ? 2 : 0}, {"ui.prompts.oob", touchBarOnly}});
        present(queryFor("/srv/data/a.txt", OPERATION_READ, "/opt/Notes", "/bin/sh"));
    }
    // What the key has led to: a decision, or what is chosen now; "!" for an alert sound.
    std::string press(const KeyEvent& event)
    {
        const int before = host.alertSound.played.get();
        shown->keyDown(event);
        const std::string sound = host.alertSound.played.get() == before ? "" : "!";
        if (wait->isOver())
            return (wait->response().decision == DECISION_ALLOW ? "allow" : "deny") + sound;
        const PromptView view = shown->view();
        if (view.kind == PromptView::Kind::Simple)
            return std::to_string(view.duration) + sound;
        return std::to_string(view.duration) + " path " + std::to_string(view.paths.selected)
            + " process " + std::to_string(view.processes.selected) + sound;
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
        const KeyEvent key{0, {letters[i], '4'}, commandKey | (i % 2 == 0 ? 0 : shiftKey)};
        EXPECT_EQ(advanced.press(key), ofAdvanced[i] + std::string(" path 3 process 2"));
        EXPECT_EQ(simple.press(key), std::string(1, ofSimple[i])) << letters[i];
    }
    const std::pair<KeyEvent, const char*> others[] = {{{123, "", shiftKey}, " path 4 process 2"},
        {{124, "", shiftKey}, " path 3 process 2"}, {{125, "", shiftKey}, " path 3 process 3"},
        {{126, "1", shiftKey}, " path 3 process 2"}, {{36, "\r", shiftKey}, " path 3 process 2!"},
        {{0, "", commandKey}, " path 3 process 2!"}, {{0, "5", commandKey}, " path 3 process 2!"},
        {{0, "\xc3\xb3", commandKey}, " path 3 process 2!"},
        {{53, "\x1b", commandKey}, " path 3 process 2!"},
        {{123, "\xef\x9c\x82", commandKey}, " path 3 process 2!"}};
    for (const auto& [key, chosen] : others) {
        const std::string shaped = advanced.press(key);
        EXPECT_EQ(shaped, std::string("2") + chosen)
            << key.keyCode << key.charactersIgnoringModifiers;
        EXPECT_EQ(simple.press(key), shaped.ends_with('!') ? "2!" : "2");
    }
}

TEST(Keyboard, DecidesUnlessTheTouchBarMust)
{
    const std::pair<KeyEvent, const char*> rows[] = {{{0, "\r", commandKey}, "allow"},
        {{0, "\x03", commandKey}, "allow"}, {{53, "\x1b", shiftKey}, "deny"}};
    for (const auto& [key, decision] : rows) {
        EXPECT_EQ(KeyboardFixture(true).press(key), decision);
        EXPECT_EQ(KeyboardFixture(false, 2).press(key), decision); // one alone stands for yes
        EXPECT_EQ(KeyboardFixture(true, 1).press(key), "1 path 3 process 2!");
        KeyboardFixture touchBarOnly(false, 1);
        EXPECT_EQ(touchBarOnly.press(key), "1!");
        const PromptView view = touchBarOnly.shown->view();
        EXPECT_TRUE(view.allow.hidden && view.deny.hidden && !view.touchBarLabel.empty());
    }
}

TEST(Keyboard, CommandHighlightsAllowAndGivesNobodyMoreRights)
{
    for (const bool advanced : {true, false}) {
        KeyboardFixture fixture(advanced);
        for (const std::uint32_t flags : {shiftKey, commandKey | shiftKey, shiftKey, commandKey}) {
            fixture.shown->flagsChanged({flags});
            EXPECT_EQ(fixture.shown->view().allow.highlighted, (flags & commandKey) != 0);
        }
        fixture.forbidRules();
        EXPECT_EQ(fixture.press({0, "f", commandKey}), advanced ? "1 path 3 process 2" : "1");
    }
}

TEST(Keyboard, KeysOfAClosedPromptDoNotReachTheNext)
{
    KeyboardFixture fixture(true);
    const auto closed = fixture.advanced->shared_from_this();
    fixture.broker.cancelQuery();
    for (const bool another : {false, true}) {
        if (another)
            fixture.present(queryFor("/srv/x"));
        for (const KeyEvent& key : {KeyEvent{0, "1", commandKey}, {0, "\r", commandKey},
                 {123, "", shiftKey}, {125, "", shiftKey}, {53, "", shiftKey}})
            closed->keyDown(key);
        closed->flagsChanged({commandKey});
    }
    EXPECT_EQ(fixture.press({0, "q", commandKey}), "1 path 2 process 1");
}

TEST(SyntheticInput, IsDroppedAndTold)
{
    constexpr UserId devices = 261;
    const std::tuple<EventSource, std::int64_t, std::string> rows[] = {{{}, 0, "nobody"},
        {{300, 501}, 0, "remote (300)"}, {{300, 501}, 1, "nobody"}, {{300, 501}, 2, "remote (300)"},
        {{-7, 501}, 0, "unknown program (-7)"}, {{300, 0}, 0, "nobody"}, // root's
        {{0, 501}, 0, "nobody"}, {{300, devices}, 0, "nobody"}};
    for (const auto& [source, remote, refused] : rows) {
        KeyboardFixture fixture(true);
        fixture.host.processes.add(300, 1, "/opt/remote");
        fixture.writePreferences({{"ui.prompts.remote", remote}});
        fixture.host.accounts.facts.with([](auto& facts) { facts.accounts["_hidd"] = devices; });
        const bool taken = refused == "nobody";
        EXPECT_EQ(fixture.shown->refusesMouse(source), !taken);
        EXPECT_EQ(fixture.press({53, "\x1b", 0, source}), taken ? "deny" : "1 path 3 process 2");
        Lines told;
        for (const UserNotification& notification : fixture.host.notifications.delivered.get())
            told.push_back(notification.informativeText);
        const std::string ignored = "Ignored software-composed ";
        const std::string clicks = ignored + "mouse clicks from " + refused;
        EXPECT_EQ(told, taken ? Lines{} : (Lines{clicks, ignored + "keypresses from " + refused}));
    }
}

}
}
