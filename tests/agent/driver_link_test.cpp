#include "agent/driver_link.h"
#include "support/agent_fixture.h"

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

    Link()
    {
        chooseAdvancedPrompts();
        link.setAutodetectRoute(this);
        link.setResponseListener(this);
    }
    ~Link() override
    {
        host.clock.stop();
        host.driver.vanish();
        broker.cancelQuery();
        host.threads.joinAll();
    }

    void startRegistered()
    {
        ASSERT_TRUE(host.threads.launch("driver loop", [this] { link.agent_main(); }));
        ASSERT_TRUE(host.driver.waitUntil([&] { return link.isConnected(); }));
    }
    // Until the query, which is the next one, has its prompt.
    void prompt(const policy_query& query)
    {
        const std::size_t before = prompts.advanced.size();
        host.driver.sendQuery(query);
        ASSERT_TRUE(host.mainThread.runUntil([&] { return prompts.advanced.size() > before; }));
    }
    // Until the agent has answered so often; the last response.
    user_prompt_response answered(std::size_t responses)
    {
        EXPECT_TRUE(host.mainThread.runUntil([&] { return outcomes.get().size() >= responses; }));
        host.mainThread.runPending();
        const auto all = host.driver.responses();
        EXPECT_EQ(all.size(), responses);
        return all.empty() ? user_prompt_response{} : all.back();
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

TEST_F(Link, AnswersTheDriverOneQueryAfterAnother)
{
    startRegistered();
    EXPECT_TRUE(host.processControl.debuggersDenied.get());
    prompt(makeQuery("/1"));
    host.driver.sendQuery(makeQuery("/2"));
    ASSERT_TRUE(host.mainThread.runUntil([&] { return host.threads.launched() == 4; }));
    host.mainThread.runPending();
    EXPECT_EQ(prompts.advanced.size(), 1U) << "the second prompt comes after the first answer";
    broker.clickAllow();
    EXPECT_EQ(answered(1).decision, DECISION_ALLOW);
    ASSERT_TRUE(host.mainThread.runUntil([&] { return prompts.advanced.size() == 2; }));
}

TEST_F(Link, DeniesWhenTheMinuteIsOver)
{
    startRegistered();
    std::size_t count = 0;
    for (const auto& [operation, operations] :
        {std::pair<std::int32_t, std::int32_t>{OPERATION_MOUNT, 8},
            {std::numeric_limits<std::int32_t>::min(), 23}}) {
        prompt(makeQuery("/late", operation));
        ASSERT_TRUE(host.clock.waitForWaiters(2)); // the query and the poller
        host.advance(59'999ms);
        EXPECT_EQ(host.driver.responses().size(), count);
        host.advance(1ms);
        const user_prompt_response response = answered(++count);
        EXPECT_EQ(std::tuple(response.decision, response.duration, response.code, response.process,
                      response.operations, textOf(response.path)),
            std::tuple(DECISION_DENY, 0, RESPONSE_NOT_ANSWERED, 0, operations, "/recommended/"));
        EXPECT_EQ(outcomes.get().back(), Outcome::TimedOut);
        EXPECT_FALSE(broker.isPresenting());
        EXPECT_EQ(host.notifications.delivered.get().size(), 1U); // none with the failsafe rules
        (void)writeFile(directories.failsafeRules(), "");
    }
}

TEST_F(Link, WithdrawsThePromptWhenTheDriverStopsTheFilter)
{
    startRegistered();
    prompt(makeQuery("/open"));
    host.driver.send(messageOf(MSG_FILTER_STOPPED, messagePayloadOffset));
    EXPECT_EQ(answered(1).code, RESPONSE_NOT_ANSWERED);
    EXPECT_EQ(outcomes.get()[0], Outcome::Cancelled);
    EXPECT_EQ(status.statusBarStatus(), FILTER_DISABLED);
    EXPECT_EQ(prompts.advanced[0]->acts.back(), "close");
    EXPECT_TRUE(host.notifications.delivered.get().empty());
}

TEST_F(Link, AnswersWithoutAWindowWhenNobodyIsThereToBeAsked)
{
    const struct {
        const char* name;
        std::int64_t preference;
        std::optional<SessionState> session;
        bool shown;
    } rows[] = {{"locked", 2, {{true, true}}, false}, {"not logged in", 2, {{false, false}}, false},
        {"there", 2, {{false, true}}, true}, {"unknown", 2, {}, true},
        {"locked, but prompts are wanted", 1, {{true, false}}, true}};
    startRegistered();
    for (std::size_t count = 0; const auto& [name, preference, session, shown] : rows) {
        SCOPED_TRACE(name);
        writePreferences({{"ui.prompts.while_locked", preference}, {"access.user.detail", 2}});
        host.session.state.set(session);
        shown ? prompt(makeQuery("/locked")) : host.driver.sendQuery(makeQuery("/locked"));
        broker.clickAllow();
        answered(++count);
    }
    host.driver.failMethod(METHOD_FILTER_STATUS, 1);
    EXPECT_EQ(link.updateFilterStatus(), 1U);
    host.driver.sendQuery(makeQuery("/off"));
    answered(6);
    host.threads.refuse(true);
    host.driver.sendQuery(makeQuery("/no thread"));
    ASSERT_TRUE(host.driver.waitUntil([&] { return host.driver.responses().size() == 7; }));
    user_prompt_response notShown{};
    notShown.code = RESPONSE_NOT_SHOWN;
    notShown.security_token = 7;
    std::memset(notShown.skey, 1, sizeof notShown.skey);
    std::vector<bool> decided;
    for (const user_prompt_response& response : host.driver.responses()) {
        decided.push_back(response.code == RESPONSE_DECIDED);
        EXPECT_TRUE(decided.back() || std::memcmp(&response, &notShown, sizeof response) == 0);
    }
    EXPECT_EQ(decided, (std::vector<bool>{false, false, true, true, true, false, false}));
}

TEST_F(Link, SurvivesMessagesOfAnySizeAndType)
{
    startRegistered();
    for (const std::size_t size : {0U, 27U, 28U, 1055U, 1056U, 3383U, 8192U})
        for (const std::uint32_t type : {0U, 256U, 264U, 0xffffffffU})
            if (type != MSG_POLICY_QUERY || size < sizeof(policy_query_message))
                host.driver.send(messageOf(type, size));
    policy_query hostile;
    std::memset(&hostile, 0xff, sizeof hostile); // no NUL, invalid text, negative numbers
    prompt(hostile);
    broker.clickDeny();
    EXPECT_EQ(answered(1).security_token, 0xffffffffU) << "the hostile query alone is one";
    const std::string path(1024, 'm'); // of the program notices that are long enough
    EXPECT_EQ(reported.get(),
        (std::vector<std::pair<std::string, std::size_t>>{
            {path, 0}, {path, 3383 - 1056}, {path, 8192 - 1056}}));
}

TEST_F(Link, ReconnectsForeverAndWarnsOnce)
{
    host.driver.failMethod(METHOD_OPEN_SESSION, 5);
    ASSERT_TRUE(host.threads.launch("driver loop", [this] { link.agent_main(); }));
    for (std::size_t attempt = 1; attempt <= 10; ++attempt) {
        ASSERT_TRUE(host.driver.waitUntil([&] { return host.driver.opened() == attempt; }));
        ASSERT_TRUE(host.clock.waitForWaiters(1));
        EXPECT_EQ(status.statusBarStatus(), FILTER_DISABLED);
        host.clock.advance(4'999ms);
        EXPECT_EQ(host.driver.opened(), attempt);
        host.clock.advance(1ms);
    }
    EXPECT_EQ(host.notices.displayedAndDismissed.get().size(), 1U);
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

    prompt(makeQuery("/pending"));
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
    host.driver.refuseRegistration(3);
    EXPECT_EQ(link.startDriverComms(), driverUnreachable);
    EXPECT_FALSE(link.isConnected());
    host.driver.refuseRegistration(0);
    startRegistered();
    EXPECT_EQ(link.claim_notification_port(), driverSuccess); // without a new session
    host.driver.failMethod(METHOD_RELEASE_PORT, 9);
    EXPECT_EQ(link.release_notification_port(), 9U);
    EXPECT_TRUE(link.isConnected());
    host.driver.setMethod(METHOD_RELEASE_PORT, {});
    EXPECT_EQ(link.release_notification_port(), driverSuccess);
    host.driver.refuseRegistration(4);
    EXPECT_EQ(link.claim_notification_port(), 4U);
    EXPECT_FALSE(link.isConnected());
    host.driver.refuseRegistration(0);
    EXPECT_EQ(link.claim_notification_port(), driverSuccess);
    EXPECT_TRUE(link.isConnected());
    EXPECT_EQ(link.stopFilter(), driverSuccess);
    EXPECT_EQ(host.driver.calls().back().input, std::vector<std::byte>(64, std::byte{4}));
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
