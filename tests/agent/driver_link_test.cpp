#include "agent/driver_link.h"
#include "support/agent_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace vossel::test {
namespace {

using namespace std::chrono_literals;
using Outcome = QueryWait::Outcome;

std::vector<std::byte> messageOf(std::uint32_t type, std::size_t size)
{
    std::vector<std::byte> message(size, std::byte{'m'});
    if (size >= messagePayloadOffset)
        std::memcpy(message.data() + messageTypeOffset, &type, sizeof type);
    return message;
}

struct Link : ::testing::Test, AgentFixture, AutodetectRoute, ResponseListener {
    FilterStatus status;
    DriverLink link{host.host, directories, userChecks, status, broker};
    Guarded<std::vector<std::pair<std::string, std::size_t>>> reported;
    Guarded<std::vector<Outcome>> outcomes;
    bool started = false;

    Link()
    {
        chooseAdvancedPrompts();
        link.setAutodetectRoute(this);
        link.setResponseListener(this);
    }
    ~Link() override { stop(); }

    void start()
    {
        started = true;
        ASSERT_TRUE(host.threads.launch("driver loop", [this] { link.agent_main(); }));
    }
    void startRegistered()
    {
        start();
        ASSERT_TRUE(host.driver.waitUntil([&] { return link.isConnected(); }));
    }
    void stop()
    {
        host.clock.stop();
        host.driver.vanish();
        broker.cancelQuery();
        host.threads.joinAll();
    }
    bool runUntilAnswered(std::size_t responses)
    {
        return host.mainThread.runUntil([&] {
            return host.driver.callsOf(METHOD_DELIVER_RESPONSE) >= responses;
        }) && host.mainThread.runUntil([&] { return outcomes.get().size() >= responses; });
    }
    bool runUntilPrompted(std::size_t count)
    {
        return host.mainThread.runUntil([&] { return prompts.advanced.size() >= count; });
    }

    void autodetectRulesForPath(
        const std::string& path, std::span<const std::byte> withCodesignInfo) override
    {
        reported.with([&](auto& list) { list.emplace_back(path, withCodesignInfo.size()); });
    }
    void didDeliverResponse(const user_prompt_response&, Outcome outcome) override
    {
        outcomes.with([&](auto& list) { list.push_back(outcome); });
    }
};

TEST_F(Link, AnswersTheDriverWithWhatTheUserDecides)
{
    startRegistered();
    EXPECT_TRUE(host.processControl.debuggersDenied.get());
    EXPECT_EQ(status.statusBarStatus(), FILTER_ENABLED);
    host.driver.sendQuery(makeQuery("/etc/hosts", OPERATION_READ, 4711));
    ASSERT_TRUE(runUntilPrompted(1));
    EXPECT_EQ(textOf(prompts.advanced[0]->query.path), "/etc/hosts");
    broker.clickAllow();
    ASSERT_TRUE(runUntilAnswered(1));
    const auto response = host.driver.responses().at(0);
    EXPECT_EQ(response.decision, DECISION_ALLOW);
    EXPECT_EQ(response.security_token, 4711U);
    EXPECT_EQ(std::count(std::begin(response.skey), std::end(response.skey), 1), 64);
}

TEST_F(Link, ShowsTheSecondPromptOnlyAfterTheFirstAnswer)
{
    startRegistered();
    host.driver.sendQuery(makeQuery("/1", OPERATION_READ, 1));
    host.driver.sendQuery(makeQuery("/2", OPERATION_READ, 2));
    ASSERT_TRUE(runUntilPrompted(1));
    ASSERT_TRUE(host.mainThread.runUntil([&] { return host.threads.launched() == 4; }));
    host.mainThread.runPending();
    EXPECT_EQ(prompts.advanced.size(), 1U);
    broker.clickAllow();
    ASSERT_TRUE(runUntilPrompted(2));
    EXPECT_EQ(host.driver.responses().size(), 1U);
    broker.clickDeny();
    ASSERT_TRUE(runUntilAnswered(2));
}

TEST_F(Link, DeniesWhenTheMinuteIsOver)
{
    struct Row {
        std::int32_t operation;
        std::int32_t operations;
        bool failsafe;
        std::size_t notifications;
    };
    const Row rows[] = {{OPERATION_MOUNT, 8, true, 0}, {OPERATION_READ, 23, false, 1},
        {std::numeric_limits<std::int32_t>::min(), 23, true, 1}};
    startRegistered();
    std::size_t answered = 0;
    for (const Row& row : rows) {
        std::filesystem::remove(directories.failsafeRules());
        if (row.failsafe)
            (void)writeFile(directories.failsafeRules(), "");
        host.driver.sendQuery(makeQuery("/late", row.operation));
        ASSERT_TRUE(runUntilPrompted(answered + 1));
        ASSERT_TRUE(host.clock.waitForWaiters(2)); // the query and the poller
        host.advance(59'999ms);
        EXPECT_EQ(host.driver.responses().size(), answered);
        host.advance(1ms);
        ASSERT_TRUE(runUntilAnswered(++answered));
        host.mainThread.runPending();
        const auto response = host.driver.responses().back();
        EXPECT_EQ(
            std::tuple(response.decision, response.duration, response.code, response.process,
                response.operations, response.pid, response.constraint_type, textOf(response.path)),
            std::tuple(DECISION_DENY, 0, RESPONSE_NOT_ANSWERED, 0, row.operations, 0U, 5,
                std::string_view("/recommended/")));
        EXPECT_EQ(outcomes.get().back(), Outcome::TimedOut);
        EXPECT_FALSE(broker.isPresenting());
        EXPECT_EQ(host.notifications.delivered.get().size(), row.notifications);
    }
    EXPECT_EQ(host.notifications.delivered.get()[0].title, "Timed Out Queries");
}

// The dialog blocks the main thread, and the answer must not wait for it.
TEST_F(Link, DeniesInTimeWhileTheMainThreadStandsInADialog)
{
    startRegistered();
    host.driver.sendQuery(makeQuery("/late"));
    ASSERT_TRUE(runUntilPrompted(1));
    ASSERT_TRUE(host.clock.waitForWaiters(2));
    host.clock.advance(60s); // and the main thread runs nothing
    ASSERT_TRUE(host.driver.waitUntil([&] { return host.driver.responses().size() == 1; }));
    prompts.advanced[0]->performClickAllow();
    host.mainThread.runPending();
    ASSERT_TRUE(host.driver.waitUntil([&] { return outcomes.get().size() == 1; }));
    EXPECT_EQ(host.driver.responses().size(), 1U);
    EXPECT_EQ(host.driver.responses()[0].code, RESPONSE_NOT_ANSWERED);
}

TEST_F(Link, WithdrawsThePromptWhenTheDriverStopsTheFilter)
{
    startRegistered();
    host.driver.sendQuery(makeQuery("/open"));
    ASSERT_TRUE(runUntilPrompted(1));
    host.driver.send(messageOf(MSG_FILTER_STOPPED, messagePayloadOffset));
    ASSERT_TRUE(runUntilAnswered(1));
    host.mainThread.runPending();
    EXPECT_EQ(host.driver.responses()[0].code, RESPONSE_NOT_ANSWERED);
    EXPECT_EQ(outcomes.get()[0], Outcome::Cancelled);
    EXPECT_EQ(status.statusBarStatus(), FILTER_DISABLED);
    EXPECT_EQ(prompts.advanced[0]->acts.back(), "close");
    EXPECT_TRUE(host.notifications.delivered.get().empty());
}

TEST_F(Link, AnswersWithoutAWindowWhenNobodyIsThereToBeAsked)
{
    using State = std::optional<SessionState>;
    struct Row {
        std::int64_t preference;
        State session;
        bool shown;
    };
    const Row rows[]
        = {{2, SessionState{true, true}, false}, {2, SessionState{false, false}, false},
            {2, SessionState{false, true}, true}, {2, std::nullopt, true},
            {1, SessionState{true, false}, true}, {0, SessionState{true, true}, true}};
    startRegistered();
    std::size_t shown = 0;
    std::size_t answered = 0;
    for (const Row& row : rows) {
        writePreferences({{"ui.prompts.while_locked", row.preference}, {"access.user.detail", 2}});
        host.session.state.set(row.session);
        host.driver.sendQuery(makeQuery("/locked"));
        if (row.shown) {
            ASSERT_TRUE(runUntilPrompted(++shown));
            broker.clickAllow();
        }
        ASSERT_TRUE(runUntilAnswered(++answered));
        EXPECT_EQ(prompts.advanced.size(), shown);
        EXPECT_EQ(host.driver.responses().back().code, row.shown ? 0 : RESPONSE_NOT_SHOWN);
    }
}

TEST_F(Link, AnswersWithZeroesWhileTheFilterIsNotActive)
{
    host.driver.failMethod(METHOD_FILTER_STATUS, 1);
    startRegistered();
    host.driver.sendQuery(makeQuery("/any", OPERATION_READ, 9));
    ASSERT_TRUE(runUntilAnswered(1));
    user_prompt_response expected{};
    expected.code = RESPONSE_NOT_SHOWN;
    expected.security_token = 9;
    std::memset(expected.skey, 1, sizeof expected.skey);
    const auto response = host.driver.responses()[0];
    EXPECT_EQ(std::memcmp(&response, &expected, sizeof response), 0);
    EXPECT_EQ(outcomes.get()[0], Outcome::Waiting);
}

TEST_F(Link, AnswersAtOnceWhenNoThreadIsLeft)
{
    startRegistered();
    host.threads.refuse(true);
    host.driver.sendQuery(makeQuery("/any"));
    ASSERT_TRUE(host.driver.waitUntil([&] { return host.driver.responses().size() == 1; }));
    EXPECT_EQ(host.driver.responses()[0].code, RESPONSE_NOT_SHOWN);
}

TEST_F(Link, SurvivesMessagesOfAnySizeAndType)
{
    startRegistered();
    for (const std::size_t size : {0U, 3U, 27U, 28U, 29U, 1055U, 1056U, 3383U, 8192U})
        for (const std::uint32_t type : {0U, 255U, 256U, 257U, 259U, 264U, 0xffffffffU})
            if (type != MSG_POLICY_QUERY || size < sizeof(policy_query_message))
                host.driver.send(messageOf(type, size));
    policy_query hostile;
    std::memset(&hostile, 0xff, sizeof hostile); // no NUL, invalid text, negative numbers
    host.driver.sendQuery(hostile);
    ASSERT_TRUE(runUntilPrompted(1));
    broker.clickDeny();
    ASSERT_TRUE(runUntilAnswered(1));
    EXPECT_EQ(host.driver.responses().size(), 1U);
    EXPECT_EQ(reported.get().size(), 3U); // the program notices that are long enough
    EXPECT_EQ(reported.get()[1], std::pair(std::string(1024, 'm'), std::size_t{3383 - 1056}));
}

TEST_F(Link, ReconnectsForeverAndWarnsOnce)
{
    host.driver.failMethod(METHOD_OPEN_SESSION, 5);
    start();
    for (std::size_t attempt = 1; attempt <= 10; ++attempt) {
        ASSERT_TRUE(host.driver.waitUntil([&] { return host.driver.opened() == attempt; }));
        ASSERT_TRUE(host.clock.waitForWaiters(1));
        EXPECT_EQ(status.statusBarStatus(), FILTER_DISABLED);
        host.clock.advance(4'999ms);
        EXPECT_EQ(host.driver.opened(), attempt);
        host.clock.advance(1ms);
    }
    const auto notices = host.notices.displayedAndDismissed.get();
    ASSERT_EQ(notices.size(), 1U);
    EXPECT_EQ(notices[0].header, "Cannot Connect to Vossel");
}

TEST_F(Link, ReturnsWhatStoppedTheConnection)
{
    EXPECT_EQ((host.driver.setMatch(DriverService::Match::Failed), link.startDriverComms()),
        driverUnreachable);
    EXPECT_EQ((host.driver.setMatch(DriverService::Match::None), link.startDriverComms()), 0U);
    host.driver.setMatch(DriverService::Match::Found);
    host.driver.refuseToOpen(true);
    EXPECT_EQ(link.startDriverComms(), 0U);
    host.driver.refuseToOpen(false);
    host.driver.failMethod(METHOD_OPEN_SESSION, 0xe00002c1);
    EXPECT_EQ(link.startDriverComms(), 0xe00002c1);
    host.driver.setMethod(METHOD_OPEN_SESSION, {});
    host.driver.refusePorts(true);
    EXPECT_EQ(link.startDriverComms(), driverUnreachable);
    host.driver.refusePorts(false);
    host.driver.refuseRegistration(3);
    EXPECT_EQ(link.startDriverComms(), driverUnreachable);
    EXPECT_FALSE(link.isConnected());
    EXPECT_EQ(link.reloadRules(), driverUnreachable);
}

TEST_F(Link, FollowsTheFilterAndForgetsALostConnection)
{
    startRegistered();
    host.driver.failMethod(METHOD_FILTER_STATUS, 1);
    ASSERT_TRUE(host.clock.waitForWaiters(1));
    host.clock.advance(5s);
    ASSERT_TRUE(host.driver.waitUntil([&] { return status.statusBarStatus() == FILTER_DISABLED; }));
    EXPECT_EQ(link.startFilter(), driverSuccess);
    EXPECT_EQ(status.statusBarStatus(), FILTER_ENABLED);

    host.driver.sendQuery(makeQuery("/pending"));
    ASSERT_TRUE(runUntilPrompted(1));
    host.driver.vanish();
    ASSERT_TRUE(host.mainThread.runUntil(
        [&] { return !broker.isPresenting() && !link.isConnected() && !outcomes.get().empty(); }));
    EXPECT_EQ(host.driver.responses().size(), 0U);
    EXPECT_TRUE(host.notifications.delivered.get().empty()); // nobody was away
    EXPECT_EQ(link.claim_notification_port(), driverUnreachable);
    ASSERT_TRUE(host.clock.waitForWaiters(1));
    const std::size_t polls = host.driver.callsOf(METHOD_FILTER_STATUS);
    host.driver.setMatch(DriverService::Match::None);
    host.clock.advance(5s); // the old poller wakes, and ends without another call
    ASSERT_TRUE(host.clock.waitForWaiters(1));
    EXPECT_EQ(host.driver.callsOf(METHOD_FILTER_STATUS), polls);
}

TEST_F(Link, GivesThePortUpAndTakesItBackWithANewKey)
{
    startRegistered();
    EXPECT_EQ(link.claim_notification_port(), driverSuccess);
    EXPECT_EQ(host.driver.registrations(), 1U);

    host.driver.failMethod(METHOD_RELEASE_PORT, 9);
    EXPECT_EQ(link.release_notification_port(), 9U);
    EXPECT_TRUE(link.isConnected());
    host.driver.setMethod(METHOD_RELEASE_PORT, {});
    EXPECT_EQ(link.release_notification_port(), driverSuccess);
    EXPECT_FALSE(link.isConnected());
    EXPECT_EQ(link.release_notification_port(), driverSuccess);
    EXPECT_EQ(host.driver.callsOf(METHOD_RELEASE_PORT), 2U);

    host.driver.refuseRegistration(4);
    EXPECT_EQ(link.claim_notification_port(), 4U);
    EXPECT_FALSE(link.isConnected());
    host.driver.refuseRegistration(0);
    EXPECT_EQ(link.claim_notification_port(), driverSuccess);
    EXPECT_TRUE(link.isConnected());
    EXPECT_EQ(link.stopFilter(), driverSuccess);
    EXPECT_EQ(host.driver.calls().back().input, std::vector<std::byte>(64, std::byte{3}));
    EXPECT_EQ(status.statusBarStatus(), FILTER_DISABLED);
}

TEST_F(Link, ReloadsOnceForHangUpsInQuickSuccession)
{
    startRegistered();
    for (const auto pause : {0ms, 2'000ms, 3'999ms, 1ms, 5'999ms, 6'000ms}) {
        host.clock.advance(pause);
        host.processControl.hangUp();
    }
    EXPECT_EQ(host.driver.callsOf(METHOD_RELOAD_QUIET), 3U); // at 0, 6.0 and 18.0 seconds
}

TEST_F(Link, LeavesTheDriverToTheConsoleUsersAgent)
{
    host.accounts.facts.with([](auto& facts) { facts.realUserId = 0; });
    EXPECT_EQ(link.agent_main(), 0);
    EXPECT_EQ(host.driver.opened(), 0U);
}

}
}
