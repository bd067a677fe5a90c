#include "prompt_fixture.h"

#include <gtest/gtest.h>

namespace vossel::test {
namespace {

using Lines = std::vector<std::string>;

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
    const struct {
        const char* what;
        void (*act)(QMPermissionsWindow&);
        const char* expected;
    } rows[] = {
        {"nothing", [](QMPermissionsWindow&) {},
            "2 by [In /srv/data/] for 1 process 3 operations 7 parent [/opt/Launcher] pid 0"},
        {"path", [](QMPermissionsWindow& p) { EXPECT_TRUE(p.selectPath(0)); },
            "2 by [File Extension .txt] for 1 process 3 operations 7 parent [/opt/Launcher] pid 0"},
        {"ancestor", [](QMPermissionsWindow& p) { EXPECT_TRUE(p.selectedProcessItem(6)); },
            "2 by [In /srv/data/] for 1 process 6 operations 7 parent [/sbin/second] pid 0"},
        {"updates", [](QMPermissionsWindow& p) { EXPECT_TRUE(p.setAllowUpdates(false)); },
            "1 by [In /srv/data/] for 1 process 3 operations 7 parent [/opt/Launcher] pid 0"},
        {"operations and duration",
            [](QMPermissionsWindow& p) {
                p.clickedOperations();
                p.clickedOperations();
                p.selectSegmentWithTag(3);
                p.selectSegmentWithTag(4); // no such segment
            },
            "2 by [In /srv/data/] for 3 process 3 operations 4 parent [/opt/Launcher] pid 0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        PromptFixture fixture;
        fixture.host.processes.add(60, 61, "/usr/bin/first");
        fixture.host.processes.add(61, 1, "/sbin/second");
        const auto prompt = fixture.openAdvanced(family());
        row.act(*prompt);
        prompt->performClickAllow();
        prompt->performClickDeny();
        const std::string rest = std::string("/srv/data/a.txt constraint ") + row.expected;
        EXPECT_EQ(fixture.delegate.handedOver, (Lines{"allow " + rest, "deny " + rest}));
    }
}

TEST(AdvancedActs, HandsOverSpecialTargets)
{
    const struct {
        const char* path;
        const char* expected;
    } rows[] = {
        {"/System/Library/Components/AppleScript.component/x.scpt",
            "/System/Library/Components/AppleScript.component/x.scpt constraint 1 by []"},
        {"/x/DAL/AppleCamera.plugin/y",
            "/x/DAL/AppleCamera.plugin/y constraint 1 by [In /x/DAL/AppleCamera.plugin/]"},
        {"/dev/bpf3", "/dev/bpf constraint 1 by [In /dev/bpf]"},
        {":KMOD/", ":KMOD/ constraint 1 by [none]"},
    };
    for (const auto& row : rows) {
        PromptFixture fixture;
        const auto prompt = fixture.openAdvanced(queryFor(row.path));
        EXPECT_FALSE(prompt->setAllowUpdates(true)); // nobody signed it
        prompt->clickedDeny();
        EXPECT_EQ(fixture.delegate.handedOver,
            Lines{std::string("deny ") + row.expected
                + " for 1 process 2 operations 7 parent [] pid 0"});
    }
}

TEST(AdvancedActs, SelectionStepsStopAtTheEnds)
{
    PromptFixture fixture;
    const auto prompt = fixture.openAdvanced(family());
    const PopUpButton& path = prompt->controls().pathPopUpControl;
    const PopUpButton& process = prompt->controls().applicationNamePopUp;
    for (int step = 0; step < 9; ++step)
        prompt->incrementPathSelection();
    EXPECT_EQ(path.selectedIndex(), 5);
    for (int step = 0; step < 9; ++step)
        prompt->decrementPathSelection();
    EXPECT_EQ(path.selectedIndex(), 0);
    for (int step = 0; step < 9; ++step)
        prompt->decrementProcessSelection();
    EXPECT_EQ(process.selectedIndex(), 1);
    EXPECT_EQ(process.title(), "any process");
    for (int step = 0; step < 9; ++step)
        prompt->incrementProcessSelection();
    EXPECT_EQ(process.selectedIndex(), 4);
    EXPECT_EQ(process.title(), "any process via Launcher");

    EXPECT_FALSE(prompt->selectPath(6));
    EXPECT_FALSE(prompt->selectPath(-1));
    EXPECT_FALSE(prompt->selectedProcessItem(0));
    EXPECT_FALSE(prompt->selectedProcessItem(5));
    EXPECT_EQ(path.selectedIndex(), 0);
    EXPECT_EQ(process.selectedIndex(), 4);

    const auto disabled = fixture.openAdvanced(queryFor("/dev/bpf"));
    disabled->decrementPathSelection();
    EXPECT_FALSE(disabled->selectPath(0));
    EXPECT_EQ(disabled->controls().pathPopUpControl.selectedIndex(), 1);

    const auto empty = fixture.openAdvanced(queryFor(":KMOD/"));
    empty->incrementPathSelection();
    empty->decrementPathSelection();
    EXPECT_EQ(empty->controls().pathPopUpControl.selectedIndex(), -1);
    EXPECT_EQ(empty->recommendedPath(), std::nullopt);
}

TEST(AdvancedActs, EachActIsToldOnceAndWholly)
{
    PromptFixture fixture;
    const auto prompt = fixture.openAdvanced(family());
    fixture.presenter.calls.clear();
    prompt->selectedProcessItem(1); // selection and title
    EXPECT_EQ(fixture.presenter.calls, Lines{"changed"});
    prompt->selectedProcessItem(1);
    prompt->selectPath(3);
    EXPECT_EQ(fixture.presenter.calls, Lines{"changed"});
    prompt->close();
    prompt->close();
    prompt->clickedOperations();
    EXPECT_EQ(fixture.presenter.calls, (Lines{"changed", "closed"}));
}

TEST(AdvancedActs, NobodyIsAskedToAuthenticateUnlessThePreferenceIsOne)
{
    PromptFixture fixture;
    fixture.writePreferences({{"ui.prompts.authenticate", 2}});
    fixture.openAdvanced(queryFor("/x"))->clickedAllow();
    EXPECT_EQ(fixture.host.authenticator.asked.get().size(), 0U);
    EXPECT_EQ(fixture.delegate.handedOver.size(), 1U);
}

TEST(AdvancedActs, FailedAuthenticationDeniesOnce)
{
    for (const bool proved : {true, false}) {
        PromptFixture fixture;
        fixture.writePreferences({{"ui.prompts.authenticate", 1}});
        fixture.host.authenticator.isAdministrator.set(proved);
        const auto prompt = fixture.openAdvanced(queryFor("/x"));
        prompt->selectSegmentWithTag(2);
        WindowLevel during = WindowLevel::Maximum;
        fixture.host.authenticator.duringDialog.set([&] {
            during = prompt->frame().window.state().level;
            prompt->clickedAllow(); // one dialog at a time
        });
        prompt->clickedAllow();
        EXPECT_EQ(during, WindowLevel::Normal);
        EXPECT_EQ(fixture.host.authenticator.asked.get().size(), 1U);
        EXPECT_EQ(fixture.delegate.handedOver,
            Lines{std::string(proved ? "allow" : "deny") + " /x constraint 1 by [Any Files] for "
                + (proved ? "2" : "0") + " process 2 operations 7 parent [] pid 0"});
        fixture.host.authenticator.duringDialog.set([&] { prompt->close(); });
        prompt->clickedAllow();
        EXPECT_EQ(fixture.delegate.handedOver.size(), 1U);
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
    const auto prompt = fixture.openAdvanced(queryFor("/srv/x"));
    const auto& tip = prompt->frame().window.state().tip;
    prompt->moveWindow({1000, 500, 560, 360});
    const Rect file = prompt->controls().filenameTextField.frame();
    const Point inFile{file.x, file.y};

    prompt->mouseMoved(inFile);
    fixture.host.advance(std::chrono::milliseconds(999));
    EXPECT_FALSE(tip);
    prompt->mouseMoved(inFile); // the second begins anew
    fixture.host.advance(std::chrono::milliseconds(999));
    EXPECT_FALSE(tip);
    fixture.host.advance(std::chrono::milliseconds(1));
    // Six characters of 6.5 points, one line of 17.
    EXPECT_EQ(tip,
        (TipWindow{"/srv/x", {file.x + 1010, file.y + 495 - 17, 39, 17}, 0.8, WindowLevel{14}}));

    prompt->mouseMoved({file.x + file.width, file.y});
    EXPECT_FALSE(tip);
    fixture.host.advance(std::chrono::seconds(2));
    EXPECT_FALSE(tip) << "beside the field";

    prompt->moveField(&PermissionsControls::codeSignTextField, file); // under the file's
    prompt->moveField(&PermissionsControls::applicationPathTextField, {0, 0, 9, 9});
    prompt->mouseMoved(inFile);
    fixture.host.advance(std::chrono::seconds(1));
    EXPECT_EQ(tip->text, "/srv/x");
    prompt->mouseMoved({3, 3});
    fixture.host.advance(std::chrono::seconds(1));
    EXPECT_EQ(tip->text, "/opt/Notes (100)");

    prompt->mouseMoved(inFile);
    prompt->clickedDeny();
    EXPECT_EQ(fixture.host.timers.pending(), 0U);
    prompt->mouseMoved(inFile);
    prompt->close();
    EXPECT_EQ(fixture.host.timers.pending(), 0U);
}

TEST(AdvancedTouchBar, OffersWhatThePromptOffers)
{
    PromptFixture fixture;
    fixture.present(queryFor("/x"));
    const auto prompt = fixture.presenter.advanced->shared_from_this();
    EXPECT_FALSE(prompt->makeItemForIdentifier(".allow").view);
    const Lines all{".o", ".q", ".r", ".f", ".deny", ".allow"};
    EXPECT_EQ(prompt->touchBar(), (TouchBar{".touchBar", all, all, ".allow"}));

    std::string seen;
    for (const std::string& identifier : all) {
        const TouchBarButton button = *prompt->makeItemForIdentifier(identifier).view;
        seen += button.title + " " + button.imageName + " " + std::to_string(int(button.imageWidth))
            + " " + std::to_string(int(button.bezelColor)) + ";";
    }
    EXPECT_EQ(seen,
        "Once  0 0;Quit  0 0;Restart  0 0;Forever  0 0;Deny Access red.png 22 1;"
        "Allow Access green.png 22 2;");
    EXPECT_FALSE(prompt->makeItemForIdentifier(".other").view);

    for (const int duration : {0, 1, 2, 3}) {
        prompt->makeItemForIdentifier(all[static_cast<std::size_t>(duration)]).view->action();
        EXPECT_EQ(prompt->controls().durationSegmentedControl.selectedSegment(), duration);
    }
    const auto deny = prompt->makeItemForIdentifier(".deny").view->action;
    prompt->makeItemForIdentifier(".allow").view->action();
    EXPECT_EQ(fixture.wait->response().decision, DECISION_ALLOW);
    EXPECT_EQ(fixture.wait->response().duration, DURATION_FOREVER);
    deny(); // too late
    EXPECT_EQ(fixture.wait->response().decision, DECISION_ALLOW);
}

TEST(AdvancedTouchBar, WithoutForever)
{
    PromptFixture fixture;
    const auto prompt = fixture.openAdvanced(queryFor(fixture.directory / "Users/Shared/Vossel/x"));
    EXPECT_EQ(
        prompt->touchBar().defaultItemIdentifiers, (Lines{".o", ".q", ".r", ".deny", ".allow"}));
    prompt->selectSegmentWithTag(3);
    EXPECT_EQ(prompt->controls().durationSegmentedControl.state(), (SegmentedControlState{3, 1}));
}

}
}
