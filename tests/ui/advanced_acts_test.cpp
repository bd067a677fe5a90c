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

TEST(AdvancedActs, HandsOverWhatTheControlsSay)
{
    using Prompt = QMPermissionsWindow;
    const policy_query script = queryFor("/System/Library/Components/AppleScript.component/x.scpt");
    const struct {
        policy_query query;
        void (*act)(Prompt&);
        std::string handedOver;
    } rows[] = {
        {family(), [](Prompt&) {},
            "/srv/data/a.txt constraint 2 for 1 by [In /srv/data/] 3 7 0/opt/Launcher"},
        {family(), [](Prompt& p) { EXPECT_TRUE(p.selectPath(0)); },
            "/srv/data/a.txt constraint 2 for 1 by [File Extension .txt] 3 7 0/opt/Launcher"},
        {family(), [](Prompt& p) { EXPECT_TRUE(p.selectedProcessItem(6)); }, // an ancestor
            "/srv/data/a.txt constraint 2 for 1 by [In /srv/data/] 6 7 0/sbin/second"},
        {family(), [](Prompt& p) { EXPECT_TRUE(p.setAllowUpdates(false)); },
            "/srv/data/a.txt constraint 1 for 1 by [In /srv/data/] 3 7 0/opt/Launcher"},
        {family(),
            [](Prompt& p) {
                p.clickedOperations();
                p.clickedOperations();
                p.selectSegmentWithTag(3);
                p.selectSegmentWithTag(4); // no such segment
            },
            "/srv/data/a.txt constraint 2 for 3 by [In /srv/data/] 3 4 0/opt/Launcher"},
        {script, [](Prompt& p) { EXPECT_FALSE(p.setAllowUpdates(true)); }, // nobody signed it
            std::string(textOf(script.path)) + " constraint 1 for 1 by [] 2 7 0"},
        {queryFor("/dev/bpf3"), [](Prompt&) {},
            "/dev/bpf constraint 1 for 1 by [In /dev/bpf] 2 7 0"},
        {queryFor(":KMOD/"), [](Prompt&) {}, ":KMOD/ constraint 1 for 1 by [none] 2 7 0"},
    };
    for (const auto& row : rows) {
        PromptFixture fixture;
        fixture.host.processes.add(60, 61, "/usr/bin/first");
        fixture.host.processes.add(61, 1, "/sbin/second");
        const auto prompt = fixture.open(row.query);
        row.act(*prompt);
        prompt->performClickAllow();
        prompt->performClickDeny();
        EXPECT_EQ(fixture.delegate.handedOver,
            (Lines{"allow " + row.handedOver, "deny " + row.handedOver}));
    }
}

TEST(AdvancedActs, SelectionStepsStopAtTheEnds)
{
    PromptFixture fixture;
    const auto prompt = fixture.open(family());
    const PopUpButton& path = prompt->controls().pathPopUpControl;
    const PopUpButton& process = prompt->controls().applicationNamePopUp;
    const auto nineTimes = [&](QMPermissionsWindow& p, void (AdvancedPrompt::*step)()) {
        for (int time = 0; time < 9; ++time)
            (p.*step)();
    };
    nineTimes(*prompt, &AdvancedPrompt::incrementPathSelection);
    EXPECT_EQ(path.selectedIndex(), 5);
    nineTimes(*prompt, &AdvancedPrompt::decrementPathSelection);
    EXPECT_EQ(path.selectedIndex(), 0);
    nineTimes(*prompt, &AdvancedPrompt::decrementProcessSelection);
    EXPECT_EQ(process.title(), "any process");
    nineTimes(*prompt, &AdvancedPrompt::incrementProcessSelection);
    EXPECT_EQ(process.title(), "any process via Launcher");
    EXPECT_FALSE(prompt->selectPath(6) || prompt->selectPath(-1));
    EXPECT_FALSE(prompt->selectedProcessItem(0) || prompt->selectedProcessItem(5));

    const auto disabled = fixture.open(queryFor("/dev/bpf"));
    nineTimes(*disabled, &AdvancedPrompt::decrementPathSelection);
    EXPECT_FALSE(disabled->selectPath(0));
    EXPECT_EQ(disabled->controls().pathPopUpControl.selectedIndex(), 1);

    const auto empty = fixture.open(queryFor(":KMOD/"));
    nineTimes(*empty, &AdvancedPrompt::incrementPathSelection);
    EXPECT_EQ(empty->controls().pathPopUpControl.selectedIndex(), -1);
    EXPECT_EQ(empty->recommendedPath(), std::nullopt);
}

TEST(AdvancedActs, EachActIsToldOnceAndWholly)
{
    PromptFixture fixture;
    const auto prompt = fixture.open(family());
    for (int twice = 0; twice < 2; ++twice)
        prompt->selectedProcessItem(1); // selection and title
    prompt->selectPath(3);
    prompt->close();
    prompt->close();
    prompt->clickedOperations();
    EXPECT_EQ(fixture.presenter.calls, (Lines{"opened", "changed", "closed"}));
}

TEST(AdvancedActs, FailedAuthenticationDeniesOnce)
{
    const struct {
        int preference; // only one asks
        bool proved;
        const char* handedOver;
        std::size_t dialogs;
    } rows[] = {{1, true, "allow /x constraint 1 for 2 by [Any Files] 2 7 0", 1},
        {1, false, "deny /x constraint 1 for 0 by [Any Files] 2 7 0", 1},
        {2, false, "allow /x constraint 1 for 2 by [Any Files] 2 7 0", 0}};
    for (const auto& row : rows) {
        PromptFixture fixture;
        fixture.writePreferences({{"ui.prompts.authenticate", row.preference}});
        fixture.host.authenticator.isAdministrator.set(row.proved);
        const auto prompt = fixture.open(queryFor("/x"));
        prompt->selectSegmentWithTag(2);
        fixture.host.authenticator.duringDialog.set([&] {
            EXPECT_EQ(prompt->frame().window.state().level, WindowLevel::Normal);
            prompt->clickedAllow(); // one dialog at a time
        });
        prompt->clickedAllow();
        EXPECT_EQ(fixture.host.authenticator.asked.get().size(), row.dialogs);
        EXPECT_EQ(fixture.delegate.handedOver, Lines{row.handedOver});
    }
}

TEST(AdvancedActs, AQueryThatEndsDuringTheDialogIsNotAnsweredAfterIt)
{
    for (const bool proved : {true, false}) {
        PromptFixture fixture;
        fixture.writePreferences({{"access.user.detail", 2}, {"ui.prompts.authenticate", 1}});
        fixture.host.authenticator.isAdministrator.set(proved);
        fixture.present(queryFor("/x"));
        ASSERT_TRUE(fixture.presenter.advanced);
        const auto next = std::make_shared<QueryWait>();
        fixture.host.authenticator.duringDialog.set([&] {
            fixture.broker.cancelQuery();
            fixture.broker.presentQueryToUser(queryFor("/next"), next);
            fixture.host.mainThread.runPending();
        });
        fixture.presenter.advanced->clickedAllow();
        EXPECT_EQ(fixture.wait->outcome(), QueryWait::Outcome::Cancelled);
        EXPECT_EQ(next->outcome(), QueryWait::Outcome::Waiting);
        ASSERT_TRUE(fixture.presenter.advanced);
        EXPECT_EQ(fixture.presenter.advanced->controls().filenameTextField.stringValue(), "/next");
    }
}

TEST(ToolTips, ShowTheFieldUnderARestingMouse)
{
    PromptFixture fixture;
    const auto prompt = fixture.open(queryFor("/srv/x"));
    const auto& tip = prompt->frame().window.state().tip;
    prompt->moveWindow({1000, 500, 560, 360});
    const Rect file = prompt->controls().filenameTextField.frame();
    const Point inFile{file.x, file.y};

    for (int twice = 0; twice < 2; ++twice) {
        prompt->mouseMoved(inFile); // the second begins anew
        fixture.host.advance(std::chrono::milliseconds(999));
        EXPECT_FALSE(tip);
    }
    fixture.host.advance(std::chrono::milliseconds(1));
    // Six characters of 6.5 points, one line of 17.
    EXPECT_EQ(tip,
        (TipWindow{"/srv/x", {file.x + 1010, file.y + 495 - 17, 39, 17}, 0.8, WindowLevel{14}}));

    prompt->mouseMoved({file.x + file.width, file.y});
    EXPECT_FALSE(tip);
    fixture.host.advance(std::chrono::seconds(2));
    EXPECT_FALSE(tip) << "beside the field";

    prompt->moveField(&PermissionsControls::codeSignTextField, file); // under the file's
    prompt->mouseMoved(inFile);
    fixture.host.advance(std::chrono::seconds(1));
    EXPECT_EQ(tip->text, "/srv/x");

    prompt->mouseMoved(inFile);
    prompt->close();
    EXPECT_EQ(fixture.host.timers.pending(), 0U);
}

TEST(AdvancedTouchBar, OffersWhatThePromptOffers)
{
    PromptFixture fixture;
    fixture.chooseAdvancedPrompts();
    fixture.present(queryFor("/x"));
    const auto prompt = fixture.presenter.advanced->shared_from_this();
    EXPECT_FALSE(prompt->makeItemForIdentifier(".allow").view);
    const Lines all{".o", ".q", ".r", ".f", ".deny", ".allow"};
    EXPECT_EQ(prompt->touchBar(), (TouchBar{".touchBar", all, all, ".allow"}));
    EXPECT_FALSE(prompt->makeItemForIdentifier(".other").view);
    for (const int duration : {0, 1, 2, 3}) {
        prompt->makeItemForIdentifier(all[static_cast<std::size_t>(duration)]).view->action();
        EXPECT_EQ(prompt->controls().durationSegmentedControl.selectedSegment(), duration);
    }
    const auto deny = prompt->makeItemForIdentifier(".deny").view->action;
    prompt->makeItemForIdentifier(".allow").view->action();
    deny(); // too late
    EXPECT_EQ(fixture.wait->response().decision, DECISION_ALLOW);
    EXPECT_EQ(fixture.wait->response().duration, DURATION_FOREVER);

    const auto own = fixture.open(queryFor(fixture.directory / "Users/Shared/Vossel/x"));
    EXPECT_EQ(own->touchBar().defaultItemIdentifiers, (Lines{".o", ".q", ".r", ".deny", ".allow"}));
}

}
}
