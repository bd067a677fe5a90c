#include "prompt_fixture.h"

#include <gtest/gtest.h>

namespace vossel::test {
namespace {

policy_query family()
{
    policy_query query = queryFor("/srv/data/a.txt", OPERATION_READ, "/opt/Notes", "/opt/Launcher");
    query.ppid = 60;
    query.reserved1 = CODE_SIGN_VALID;
    storeText(query.cs_info.teamid, "TEAM");
    return query;
}

TEST(AdvancedActs, DecideWhatTheControlsSay)
{
    using Prompt = QMPermissionsWindow;
    const policy_query script = queryFor("/System/Library/Components/AppleScript.component/x.scpt");
    const std::tuple<policy_query, void (*)(Prompt&), std::string> rows[] = {
        {family(), [](Prompt&) {}, " 1 0 3 7 0 constraint 2 in /srv/data/"},
        {family(),
            [](Prompt& p) {
                p.clickedOperations();
                p.clickedOperations();
                p.selectSegmentWithTag(3);
                p.selectSegmentWithTag(4); // no such segment
                for (int times = 0; times < 9; ++times) {
                    p.incrementProcessSelection(); // an ancestor is the last
                    p.decrementPathSelection();
                }
                EXPECT_TRUE(p.setAllowUpdates(false));
            },
            " 3 0 6 4 0 constraint 1 extension .txt/sbin/second"},
        {family(),
            [](Prompt& p) {
                for (int times = 0; times < 9; ++times) {
                    p.decrementProcessSelection();
                    p.incrementPathSelection();
                }
            },
            " 1 0 1 7 0 constraint 2 only "},
        {script, // signed by nobody, and the path is fixed
            [](Prompt& p) { EXPECT_FALSE(p.setAllowUpdates(true) || p.selectPath(0)); },
            " 1 0 2 7 0 constraint 1 only "},
        {queryFor(":KMOD/"), [](Prompt&) {}, " 1 0 2 7 0 constraint 1 in :KMOD/"},
    };
    for (const auto& [query, act, decided] : rows) {
        PromptFixture fixture;
        fixture.host.processes.add(60, 61, "/usr/bin/first");
        fixture.host.processes.add(61, 1, "/sbin/second");
        act(fixture.open(query));
        EXPECT_EQ(fixture.wait->recommendedPath().has_value(), textOf(query.path) != ":KMOD/");
        fixture.broker.clickAllow();
        EXPECT_EQ(describe(fixture.wait->response()), "allow" + decided);
        act(fixture.open(query));
        fixture.broker.clickDeny();
        EXPECT_EQ(describe(fixture.wait->response()), "deny" + decided);
    }
}

TEST(AdvancedActs, EachActIsToldOnceAndWholly)
{
    PromptFixture fixture;
    const auto prompt = fixture.open(family()).shared_from_this();
    for (int twice = 0; twice < 2; ++twice)
        prompt->selectedProcessItem(1); // selection and title
    prompt->selectPath(3);
    prompt->close();
    prompt->close();
    prompt->clickedOperations();
    EXPECT_EQ(fixture.calls, (Lines{"opened", "changed", "closed"}));
}

TEST(PromptAuthentication, DeniesOnceWhereItFails)
{
    using Row = std::tuple<int, int, bool, std::string, std::size_t>;
    // Of both prompts; only the preference 1 asks.
    for (const auto& [detail, preference, proved, decided, dialogs] :
        {Row{2, 1, true, "allow 2 0 2 7 0 constraint 1 only ", 1},
            Row{2, 1, false, "deny 0 0 2 7 0 constraint 1 only ", 1},
            Row{2, 2, false, "allow 2 0 2 7 0 constraint 1 only ", 0},
            Row{0, 1, true, "allow 2 0 0 7 0 constraint 2 in /x", 1},
            Row{0, 1, false, "deny 0 0 0 7 0 constraint 2 in /x", 1}}) {
        PromptFixture fixture;
        fixture.writePreferences(
            {{"access.user.detail", detail}, {"ui.prompts.authenticate", preference}});
        fixture.host.authenticator.isAdministrator.set(proved);
        fixture.present(queryFor("/x"));
        fixture.broker.selectSegment(2);
        fixture.host.authenticator.duringDialog.set([&] {
            EXPECT_EQ(fixture.shown->view().level, WindowLevel::Normal);
            fixture.broker.clickAllow(); // one dialog at a time
        });
        fixture.broker.clickAllow();
        EXPECT_EQ(fixture.host.authenticator.asked.get().size(), dialogs);
        EXPECT_EQ(describe(fixture.wait->response()), decided);
    }
}

TEST(PromptAuthentication, AQueryThatEndsDuringTheDialogIsNotAnsweredAfterIt)
{
    for (const auto& [detail, another] : {std::pair(2, true), {2, false}, {0, true}, {0, false}}) {
        PromptFixture fixture;
        fixture.writePreferences({{"access.user.detail", detail}, {"ui.prompts.authenticate", 1}});
        fixture.host.authenticator.isAdministrator.set(true);
        fixture.present(queryFor("/x"));
        const auto first = fixture.wait;
        fixture.host.authenticator.duringDialog.set([&, another = another] {
            if (another) {
                fixture.broker.cancelQuery();
                fixture.present(queryFor("/next"));
            } else {
                fixture.simple ? fixture.simple->close() : fixture.advanced->close();
            }
        });
        fixture.broker.clickAllow();
        EXPECT_NE(first->outcome(), QueryWait::Outcome::Answered);
        EXPECT_EQ(fixture.wait->outcome(), QueryWait::Outcome::Waiting);
        EXPECT_EQ(fixture.calls.back(), another ? "opened" : "closed");
    }
}

TEST(ToolTips, ShowTheFieldUnderARestingMouse)
{
    PromptFixture fixture;
    QMPermissionsWindow& prompt = fixture.open(queryFor("/srv/x\ny"));
    const auto tip = [&] { return prompt.view().tip; };
    prompt.moveWindow({1000, 500, 560, 360});
    const Rect file{20, 30, 40, 17};
    prompt.moveField(ShownPrompt::Field::File, file);

    prompt.mouseMoved({file.x + file.width, file.y}); // beside the field
    fixture.host.advance(std::chrono::seconds(2));
    EXPECT_FALSE(tip());
    for (int twice = 0; twice < 2; ++twice) {
        prompt.mouseMoved({file.x, file.y}); // the second begins anew
        fixture.host.advance(std::chrono::milliseconds(999));
        EXPECT_FALSE(tip());
    }
    fixture.host.advance(std::chrono::milliseconds(1));
    // Six characters of 6.5 points, two lines of 17.
    EXPECT_EQ(tip(), (TipWindow{"/srv/x\ny", {1030, 525 - 34, 39, 34}, 0.8, WindowLevel{14}}));
    prompt.mouseMoved({file.x, file.y});
    EXPECT_FALSE(tip());
    fixture.broker.cancelQuery();
    EXPECT_EQ(fixture.host.timers.pending(), 0U);
}

TEST(PromptTouchBar, OffersWhatThePromptOffers)
{
    PromptFixture fixture;
    const auto prompt = fixture.open(queryFor("/x")).shared_from_this();
    const Lines all{".o", ".q", ".r", ".f", ".deny", ".allow"};
    EXPECT_EQ(prompt->touchBar(), (TouchBar{".touchBar", all, all, ".allow"}));
    for (const int duration : {0, 1, 2, 3}) {
        prompt->makeItemForIdentifier(all[static_cast<std::size_t>(duration)]).view->action();
        EXPECT_EQ(prompt->view().duration, duration);
    }
    prompt->makeItemForIdentifier(".allow").view->action();
    EXPECT_EQ(describe(fixture.wait->response()), "allow 3 0 2 7 0 constraint 1 only ");

    QMPermissionsWindow& ofRules = fixture.open(queryFor(fixture.pathOfRules()));
    EXPECT_EQ(
        ofRules.touchBar().defaultItemIdentifiers, (Lines{".o", ".q", ".r", ".deny", ".allow"}));
    EXPECT_FALSE(ofRules.selectPath(0));
    for (const char* late : {".r", ".deny"})
        prompt->makeItemForIdentifier(late).view->action();
    EXPECT_EQ(ofRules.view().duration, 1);

    fixture.writePreferences({}); // simple prompts
    fixture.present(queryFor("/x"));
    const Lines both{".deny", ".allow"};
    EXPECT_EQ(fixture.simple->touchBar(), (TouchBar{".touchBar", both, both, ".allow"}));
    fixture.simple->makeItemForIdentifier(".deny").view->action();
    EXPECT_EQ(fixture.wait->response().decision, DECISION_DENY);
}

}
}
