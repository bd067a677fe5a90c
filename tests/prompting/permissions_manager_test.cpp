#include "prompting/notification_routes.h"
#include "prompting/permissions_manager.h"
#include "prompting/response_builder.h"
#include "support/agent_fixture.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

namespace vossel::test {
namespace {

using Outcome = QueryWait::Outcome;
using Lines = std::vector<std::string>;

struct Broker : ::testing::Test, AgentFixture {
    std::shared_ptr<QueryWait> present(const policy_query& query)
    {
        auto wait = std::make_shared<QueryWait>();
        broker.presentQueryToUser(query, wait);
        host.mainThread.runPending();
        return wait;
    }
};

std::string describe(const user_prompt_response& r)
{
    std::string text = r.decision == DECISION_ALLOW ? "allow" : "deny";
    for (const std::int64_t number : std::initializer_list<std::int64_t>{
             r.code, r.duration, r.process, r.operations, r.pid, r.constraint_type, r.pathType})
        text += " " + std::to_string(number);
    return text + " " + std::string(textOf(r.path)) + std::string(textOf(r.user_data));
}

TEST(ResponseBuilder, CarriesTheDecisionAndTheScopeOfTheChosenText)
{
    const std::pair<std::optional<std::string>, std::string> rows[]
        = {{std::nullopt, "0 /h/a.txt"}, {"Any Files", "1 "}, {"Only /h/a.txt", "1 /h/a.txt"},
            {"In /h/", "0 /h/"}, {"File Extension .tar.gz", "2 .tar.gz"},
            {"Only notes.txt", "1 .txt"}, {"Only /dev/bpf12", "0 /dev/bpf"}};
    policy_query query = makeQuery("/h/a.txt");
    std::memset(query.parent_name, 'p', sizeof query.parent_name); // no NUL anywhere
    for (const auto& [choice, scope] : rows)
        EXPECT_EQ(describe(buildResponse(query, {DECISION_DENY, choice, 3, PROCESS_PROGRAM, 4, 9})),
            "deny 0 3 2 4 9 5 " + scope);
    EXPECT_EQ(describe(buildResponse(
                  query, {DECISION_ALLOW, "", 0, PROCESS_ANY_WITH_ANCESTOR, OPERATION_EXECUTE, 0})),
        "allow 0 0 6 17 0 5 1 " + std::string(1023, 'p'));
}

TEST_F(Broker, ChoosesThePromptByUserAndPreference)
{
    const struct {
        const char* name;
        bool administrator, marker;
        std::int64_t detail;
        bool simple;
    } rows[] = {{"user", false, false, 0, true}, {"user who wants details", false, true, 2, false},
        {"user who wants some", false, false, 1, false}, {"unknown wish", false, false, 3, true},
        {"administrator", true, false, 3, false}, {"administrator's mark", true, true, 1, true}};
    for (const auto& [name, administrator, marker, detail, simple] : rows) {
        host.accounts.facts.with([is = administrator](auto& f) { f.isAdministrator = is; });
        writePreferences({{"access.user.detail", detail}});
        std::filesystem::remove(directories.simpleModeMarker("ann"));
        if (marker)
            (void)writeFile(directories.simpleModeMarker("ann"), "");
        EXPECT_EQ(broker.simpleMode(), simple) << name;
    }
}

// The program that asked may write to the same screen as soon as the wait is over.
TEST_F(Broker, GivesTheScreenBackBeforeTheDecisionCounts)
{
    chooseAdvancedPrompts();
    const auto wait = present(makeQuery("/a/b", OPERATION_EXECUTE));
    EXPECT_TRUE(broker.isPresenting() && !broker.haveResponse());
    EXPECT_EQ(broker.recommendedPath(), "In /recommended/");
    prompts.advanced.at(0)->onClose = [&] { EXPECT_FALSE(wait->isOver()); };
    broker.clickAllow();
    EXPECT_TRUE(wait->outcome() == Outcome::Answered && !broker.isPresenting());
    EXPECT_EQ(describe(broker.getResponse()), "allow 0 2 3 17 77 5 1 /chosen");
    EXPECT_EQ(prompts.advanced[0]->acts, (Lines{"show", "close"}));
    EXPECT_EQ(host.windows.acts.get(), (Lines{"activate", "hide"}));
}

TEST_F(Broker, DerivesTheOperationsOfASimpleDecision)
{
    const std::pair<std::int32_t, std::string> rows[] = {{OPERATION_READ, "7"},
        {OPERATION_MOUNT, "8"}, {OPERATION_EXECUTE, "17"}, {0, "7"}, {3, "7"}};
    for (const auto& [operation, operations] : rows) {
        const auto wait = present(makeQuery("/a/b", operation));
        broker.clickDeny();
        EXPECT_EQ(describe(wait->response()), "deny 0 1 0 " + operations + " 0 5 0 /a/b");
        EXPECT_EQ(broker.recommendedPath(), std::nullopt);
    }
}

TEST_F(Broker, WithdrawsThePromptOnCancellationAndReevaluation)
{
    EXPECT_FALSE(broker.reevaluateQuery());
    const auto cancelled = present(makeQuery("/a"));
    broker.cancelQuery();
    EXPECT_EQ(cancelled->outcome(), Outcome::Cancelled);
    EXPECT_FALSE(broker.haveResponse() || broker.isPresenting() || broker.reevaluateQuery());
    present(makeQuery("/a"));
    EXPECT_TRUE(broker.reevaluateQuery());
    EXPECT_EQ(broker.getResponse().code, RESPONSE_REEVALUATE);
    broker.presentQueryToUser(makeQuery("/a"), std::make_shared<QueryWait>());
    broker.cancelQuery(); // before the main thread came to it
    host.mainThread.runPending();
    EXPECT_EQ(prompts.simple.size(), 2U);
    EXPECT_EQ(prompts.simple.back()->acts, (Lines{"show", "close"}));
}

// The authentication dialog of one prompt may outlive its minute. What it brings must reach neither
// that query nor the next one.
TEST_F(Broker, DropsADecisionThatComesAfterItsQuery)
{
    chooseAdvancedPrompts();
    const policy_query query = makeQuery("/first");
    const auto first = present(query);
    const auto late = prompts.advanced[0];
    std::jthread([&] {
        EXPECT_TRUE(broker.prepareResponseToQuery(query, DECISION_DENY, {}, 0, 0, 23, 0));
    }).join();
    late->performClickAllow(); // the main thread has not yet closed it
    EXPECT_EQ(first->response().decision, DECISION_DENY);

    const auto second = present(makeQuery("/second"));
    late->performClickAllow();
    EXPECT_EQ(second->outcome(), Outcome::Waiting);
    prompts.advanced[1]->performClickDeny();
    EXPECT_EQ(second->outcome(), Outcome::Answered);
}

struct Routes final : NotificationRoutes {
    using Activation = NotificationActivation;
    using Note = UserNotification;
    std::string call;

    void autodetectDidActivateNotification(const Note&, Activation, int) override
    {
        call = "asset";
    }
    void deviceDidDismissUserNotification(const Note&, Activation, int) override
    {
        call = "device";
    }
    void ignoreApplication(const PropertyList&, int) override { call = "ignore"; }
    void tapDidDismissNotificationWithUserInfo(const PropertyList&) override { call = "tap"; }
};

TEST_F(Broker, RoutesClicksByTheNotificationsUserInfo)
{
    using enum NotificationActivation;
    const std::tuple<const char*, NotificationActivation, const char*> rows[] = {
        {nullptr, ContentsClicked, " removed"}, {nullptr, ActionButtonClicked, " launched"},
        {"autodetectAsset", ContentsClicked, "asset"},
        {"device", ContentsClicked, "device removed"}, {"device", AlternateActionClicked, "device"},
        {"tap", ContentsClicked, "tap removed"}, {"tap", AlternateActionClicked, "ignore"}};
    for (const auto& [key, activation, outcome] : rows) {
        Routes routes;
        broker.setNotificationRoutes(&routes);
        host.notifications.removed.set({});
        host.workspace.launched.set({});
        UserNotification notification;
        if (key)
            notification.userInfo.emplace().set(key, PropertyList(std::int64_t{1}));
        broker.didActivateNotification(notification, activation, 2);
        EXPECT_EQ(routes.call + (host.notifications.removed.get().empty() ? "" : " removed")
                + (host.workspace.launched.get().empty() ? "" : " launched"),
            outcome);
    }
}

}
}
