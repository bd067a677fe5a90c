#include "prompt_fixture.h"

#include <gtest/gtest.h>

namespace vossel::test {
namespace {

using Kind = PromptAct::Kind;

struct PromptActsTest : testing::Test, PromptFixture {
    void presentOf(std::int64_t detail, const std::string& path)
    {
        writePreferences({{"access.user.detail", detail}, {"ui.prompts.oob", touchBarOnly}});
        policy_query query = queryFor(path, OPERATION_READ, program);
        query.reserved1 = CODE_SIGN_UNSIGNED;
        present(query);
    }

    std::int64_t touchBarOnly = 0;
    std::string program = "/opt/Notes";
};

TEST_F(PromptActsTest, ThatCannotBeDoneSayWhyAndChangeNothing)
{
    constexpr std::int64_t simplePrompts = 0;
    constexpr std::int64_t advancedPrompts = 2;
    const std::string rules = pathOfRules();
    const struct {
        std::int64_t detail;
        std::string path;
        std::vector<PromptAct> acts;
        std::string refusal;
    } rows[] = {
        {advancedPrompts, "/srv/x",
            {{Kind::Path, 99}, {Kind::Path, -1}, {Kind::Process, -1}, {Kind::Process, 99}},
            "there is no such entry"},
        {advancedPrompts, "/srv/x", {{Kind::Duration, 4}, {Kind::Duration, -1}},
            "this prompt has no such duration"},
        {advancedPrompts, "/srv/x", {{Kind::Advanced, 0}}, "this prompt has no such control"},
        {advancedPrompts, "/srv/x", {{Kind::Updates, 1}}, "this control is disabled"},
        {advancedPrompts, "/dev/bpf3", {{Kind::Path, 0}}, "this control is disabled"},
        {advancedPrompts, rules, {{Kind::Duration, 3}}, "this prompt has no such duration"},
        {simplePrompts, rules, {{Kind::Duration, 3}, {Kind::Duration, 0}},
            "this prompt has no such duration"},
        {simplePrompts, "/srv/x",
            {{Kind::Path, 0}, {Kind::Process, 1}, {Kind::Updates, 1}, {Kind::Operations, 0}},
            "this prompt has no such control"},
    };
    const auto expectRefused = [this](const PromptAct& act, const std::string& refusal) {
        const PromptView before = shown->view();
        EXPECT_EQ(shown->carryOut(act), refusal)
            << before.file.text << " " << int(act.kind) << " " << act.number;
        EXPECT_EQ(shown->view(), before);
    };
    for (const auto& row : rows) {
        presentOf(row.detail, row.path);
        for (const PromptAct& act : row.acts)
            expectRefused(act, row.refusal);
    }
    program = "/usr/bin/x"; // the system's own, whose updates always count
    presentOf(advancedPrompts, "/srv/x");
    expectRefused({Kind::Updates, 1}, "this control is hidden");
    touchBarOnly = 1;
    presentOf(advancedPrompts, "/srv/x");
    for (const Kind kind : {Kind::Allow, Kind::Deny})
        expectRefused({kind, 0}, "this prompt is answered on the touch bar");
    presentOf(simplePrompts, "/srv/x");
    forbidRules(); // only now
    expectRefused({Kind::Duration, 3}, "this duration cannot be chosen");
}

TEST_F(PromptActsTest, ShowWhatTheyChanged)
{
    presentOf(2, "/srv/x");
    PromptView expected = shown->view();
    ASSERT_TRUE(expected.processes.titleEntry);
    for (const PromptAct& act :
        {PromptAct{Kind::Path, 0}, {Kind::Process, 0}, {Kind::Duration, 0}, {Kind::Operations, 0}})
        EXPECT_EQ(shown->carryOut(act), std::nullopt);
    expected.paths.selected = expected.processes.selected = 0;
    expected.paths.title = shown->view().paths.title;
    expected.processes.title = "any process";
    expected.duration = 0;
    expected.operations = "Read Only";
    EXPECT_EQ(shown->view(), expected);
    EXPECT_EQ(calls.size(), 5U); // opened, and each act
    EXPECT_EQ(shown->carryOut({Kind::Deny, 0}), std::nullopt);
    EXPECT_EQ(describe(wait->response()), "deny 0 0 1 1 0 constraint 1 only /srv/x");
}

TEST(PromptArmingTest, NothingCountsBeforeAPersonCanHaveReadThePrompt)
{
    using Early = PromptArming::EarlyPress;
    constexpr PromptArming::Time start = 0xFFFFFF00; // the clock wraps around meanwhile
    for (const Early early : {Early::ChangesNothing, Early::StartsAnew}) {
        PromptArming arming(early);
        EXPECT_FALSE(arming.hasAppeared() || arming.takesPress(start));
        arming.appeared(start);
        EXPECT_TRUE(arming.hasAppeared() && arming.isArmed(start + 400));
        EXPECT_FALSE(arming.isArmed(start + 399) || arming.takesPress(start + 399));
        EXPECT_EQ(arming.takesPress(start + 400), early == Early::ChangesNothing);
        EXPECT_TRUE(arming.takesPress(start + 800));
        arming.appeared(start + 900); // was covered meanwhile
        EXPECT_FALSE(arming.takesPress(start + 1299));
    }
}

TEST(PromptCountdownTest, CountsSecondsThatHaveBegun)
{
    SimulatedClock clock;
    const std::array<std::int64_t, 3> rows[]
        = {{60000, 60, 1000}, {59999, 60, 999}, {1000, 1, 1000}, {1, 1, 1}, {0, 0, 0}, {-5, 0, 0}};
    for (const auto& [left, seconds, untilNext] : rows) {
        const PromptCountdown countdown(clock, clock.now() + std::chrono::milliseconds(left));
        EXPECT_EQ(countdown.left().count(), std::max<std::int64_t>(left, 0));
        EXPECT_EQ(countdown.secondsLeft(), seconds) << left;
        EXPECT_EQ(countdown.untilNextSecond().count(), untilNext) << left;
    }
}

}
}
