#include "prompting/notification_routes.h"
#include "prompting/permissions_manager.h"
#include "prompting/response_builder.h"
#include "support/agent_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

namespace vossel::test {
namespace {

using ::testing::ElementsAre;
using Outcome = QueryWait::Outcome;

struct Broker : ::testing::Test, AgentFixture {
    std::shared_ptr<QueryWait> present(const policy_query& query)
    {
        auto wait = std::make_shared<QueryWait>();
        broker.presentQueryToUser(query, wait);
        host.mainThread.runPending();
        return wait;
    }
};

TEST(ResponseBuilder, DerivesTheScopeFromTheChosenText)
{
    struct Row {
        std::optional<std::string> choice;
        std::string path;
        std::int32_t type;
    };
    const Row rows[] = {
        {std::nullopt, "/home/ann/letter.txt", PATH_PREFIX},
        {"", "", PATH_EXACT},
        {"Any Files", "", PATH_EXACT},
        {"Only /home/ann/letter.txt", "/home/ann/letter.txt", PATH_EXACT},
        {"In /home/ann/", "/home/ann/", PATH_PREFIX},
        {"File Extension .tar.gz", ".tar.gz", PATH_EXTENSION},
        {"Only notes.txt", ".txt", PATH_EXACT},
        {"In /dev/bpf", "/dev/bpf", PATH_PREFIX},
        {"Only /dev/bpf12", "/dev/bpf", PATH_PREFIX},
        {"In /" + std::string(2000, 'x'), "/" + std::string(1022, 'x'), PATH_PREFIX},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.choice.value_or("(none)"));
        PromptDecision decision;
        decision.selectedPath = row.choice;
        const auto response = buildResponse(makeQuery("/home/ann/letter.txt"), decision);
        EXPECT_EQ(textOf(response.path), row.path);
        EXPECT_EQ(response.pathType, row.type);
    }
}

TEST(ResponseBuilder, CarriesTheDecisionAndItsAncestor)
{
    policy_query query = makeQuery("/bin/tool", OPERATION_EXECUTE);
    std::memset(query.parent_name, 'p', sizeof query.parent_name); // no NUL anywhere
    const auto response = buildResponse(
        query, {DECISION_DENY, "Any Files", 3, PROCESS_ANY_WITH_ANCESTOR, OPERATION_EXECUTE, 9});
    EXPECT_EQ(response.operations, OPERATION_EXECUTE | OPERATION_READ);
    EXPECT_EQ(textOf(response.user_data), std::string(1023, 'p'));
    EXPECT_EQ(std::tuple(response.decision, response.duration, response.code, response.process,
                  response.constraint_type, response.pid),
        std::tuple(DECISION_DENY, 3, RESPONSE_DECIDED, PROCESS_ANY_WITH_ANCESTOR, 5, 9U));
}

TEST_F(Broker, ChoosesThePromptByUserAndPreference)
{
    struct Row {
        bool administrator;
        bool marker;
        std::optional<std::int64_t> detail;
        bool simple;
    };
    const Row rows[] = {
        {false, false, std::nullopt, true},
        {false, true, 2, false},
        {false, false, 1, false},
        {false, false, 3, true},
        {true, false, 3, false},
        {true, true, 1, true},
    };
    for (const Row& row : rows) {
        host.accounts.facts.with([&](auto& f) { f.isAdministrator = row.administrator; });
        std::filesystem::remove(directories.preferences());
        std::filesystem::remove(directories.simpleModeMarker("ann"));
        if (row.detail)
            writePreferences({{"access.user.detail", *row.detail}});
        if (row.marker)
            (void)writeFile(directories.simpleModeMarker("ann"), "");
        EXPECT_EQ(broker.simpleMode(), row.simple) << row.administrator << row.marker;
    }
}

TEST_F(Broker, HandsTheAdvancedDecisionOverAndClosesThePrompt)
{
    chooseAdvancedPrompts();
    const auto wait = present(makeQuery("/a/b", OPERATION_EXECUTE));
    ASSERT_EQ(prompts.advanced.size(), 1U);
    EXPECT_TRUE(broker.isPresenting());
    EXPECT_EQ(broker.recommendedPath(), "In /recommended/");
    EXPECT_FALSE(broker.haveResponse());

    broker.clickAllow();
    EXPECT_EQ(wait->outcome(), Outcome::Answered);
    const auto response = broker.getResponse();
    EXPECT_EQ(std::tuple(response.decision, response.duration, response.process,
                  response.operations, response.pid),
        std::tuple(DECISION_ALLOW, 2, 3, 17, 77U));
    EXPECT_EQ(textOf(response.path), "/chosen");
    EXPECT_FALSE(broker.isPresenting());
    EXPECT_THAT(prompts.advanced[0]->acts, ElementsAre("show", "close"));
    EXPECT_THAT(host.windows.acts.get(), ElementsAre("activate", "hide"));
}

TEST_F(Broker, DerivesTheOperationsOfASimpleDecision)
{
    const std::pair<std::int32_t, std::int32_t> rows[]
        = {{OPERATION_READ, 7}, {OPERATION_MOUNT, 8}, {OPERATION_EXECUTE, 17}, {0, 7}, {3, 7}};
    for (const auto& [operation, operations] : rows) {
        const auto wait = present(makeQuery("/a/b", operation));
        prompts.simple.back()->duration = 3;
        broker.clickDeny();
        const auto response = wait->response();
        EXPECT_EQ(response.operations, operations) << operation;
        EXPECT_EQ(std::tuple(response.decision, response.duration, response.process, response.pid),
            std::tuple(DECISION_DENY, 3, PROCESS_NONE, 0U));
        EXPECT_EQ(textOf(response.path), "/a/b");
        EXPECT_EQ(broker.recommendedPath(), std::nullopt);
    }
}

TEST_F(Broker, ForwardsCommandsToWhicheverPromptIsOpen)
{
    const auto command = [this] {
        broker.setAllowButtonHighlight(1);
        for (std::int32_t tag = 0; tag < 5; ++tag)
            broker.selectSegment(tag);
        broker.incrementPopUpSelection();
        broker.decremenetPopUpSelection();
        broker.incrementProcessSelection();
        broker.decrementProcessSelection();
    };
    command(); // nothing is open
    EXPECT_FALSE(broker.requireTouchBar());
    present(makeQuery("/a"));
    command();
    EXPECT_FALSE(broker.requireTouchBar());
    EXPECT_THAT(prompts.simple[0]->acts,
        ElementsAre("show", "highlight", "until quit", "until restart", "forever"));
    broker.cancelQuery();

    chooseAdvancedPrompts();
    present(makeQuery("/a"));
    command();
    EXPECT_TRUE(broker.requireTouchBar());
    EXPECT_THAT(prompts.advanced[0]->acts,
        ElementsAre("show", "highlight 1", "segment 0", "segment 1", "segment 2", "segment 3",
            "segment 4", "path+", "path-", "process+", "process-"));
}

TEST_F(Broker, SwitchesToTheAdvancedPromptForThisQueryOnly)
{
    for (const std::int32_t duration : {1, 3}) {
        const auto wait = present(makeQuery("/a/b/c"));
        FakeSimplePrompt& simple = *prompts.simple.back();
        simple.duration = duration;
        simple.delegate->didRequestAdvancedDisplayForQuery(simple.query);
        EXPECT_EQ(simple.acts.back(), "close");
        EXPECT_EQ(simple.delegate, nullptr);
        EXPECT_FALSE(broker.simpleMode());
        FakeAdvancedPrompt& advanced = *prompts.advanced.back();
        EXPECT_EQ(textOf(advanced.query.path), "/a/b/c");
        EXPECT_EQ(advanced.acts.back(), duration == 1 ? "show" : "segment 3");
        EXPECT_EQ(broker.recommendedPath(), "In /recommended/");
        broker.clickDeny();
        EXPECT_EQ(wait->outcome(), Outcome::Answered);
        EXPECT_TRUE(broker.simpleMode());
    }
}

TEST_F(Broker, WithdrawsThePromptOnCancellationAndReevaluation)
{
    EXPECT_FALSE(broker.reevaluateQuery());
    broker.cancelQuery();

    const auto cancelled = present(makeQuery("/a"));
    broker.cancelQuery();
    EXPECT_EQ(cancelled->outcome(), Outcome::Cancelled);
    EXPECT_FALSE(broker.haveResponse());
    EXPECT_FALSE(broker.isPresenting());
    EXPECT_FALSE(broker.reevaluateQuery());

    const auto reevaluated = present(makeQuery("/a"));
    EXPECT_TRUE(broker.reevaluateQuery());
    EXPECT_EQ(reevaluated->outcome(), Outcome::Reevaluated);
    EXPECT_EQ(broker.getResponse().code, RESPONSE_REEVALUATE);
    EXPECT_EQ(prompts.simple.back()->acts.back(), "close");
}

TEST_F(Broker, DoesNotOpenAPromptWhoseWaitIsOver)
{
    const auto wait = std::make_shared<QueryWait>();
    broker.presentQueryToUser(makeQuery("/a"), wait);
    broker.cancelQuery(); // before the main thread came to it
    host.mainThread.runPending();
    EXPECT_TRUE(prompts.simple.empty());
    EXPECT_FALSE(broker.isPresenting());
}

// The authentication dialog of one prompt may outlive its minute. What it brings must reach neither
// that query nor the next one.
TEST_F(Broker, DropsADecisionThatComesAfterItsQuery)
{
    chooseAdvancedPrompts();
    const auto first = present(makeQuery("/first"));
    const auto late = prompts.advanced[0];
    std::jthread([&] {
        EXPECT_TRUE(broker.prepareResponseToQuery(
            makeQuery("/first"), DECISION_DENY, std::nullopt, 0, 0, 23, 0));
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
    std::vector<std::string> calls;

    void autodetectDidActivateNotification(
        const UserNotification& n, NotificationActivation, std::int32_t) override
    {
        calls.push_back("autodetect " + n.identifier);
    }
    void deviceDidDismissUserNotification(
        const UserNotification& n, NotificationActivation, std::int32_t) override
    {
        calls.push_back("device " + n.identifier);
    }
    void ignoreApplication(const PropertyList&, std::int32_t mode) override
    {
        calls.push_back("ignore " + std::to_string(mode));
    }
    void tapDidDismissNotificationWithUserInfo(const PropertyList&) override
    {
        calls.emplace_back("tap");
    }
};

TEST_F(Broker, RoutesClicksByTheNotificationsUserInfo)
{
    using Activation = NotificationActivation;
    struct Row {
        const char* key;
        Activation activation;
        std::vector<std::string> calls;
        bool removed;
        bool launched;
    };
    const Row rows[] = {
        {nullptr, Activation::ContentsClicked, {}, true, false},
        {nullptr, Activation::ActionButtonClicked, {}, false, true},
        {"autodetectAsset", Activation::ContentsClicked, {"autodetect n"}, false, false},
        {"autodetectAsset", Activation::ActionButtonClicked, {"autodetect n"}, false, false},
        {"device", Activation::ContentsClicked, {"device n"}, true, false},
        {"device", Activation::AlternateActionClicked, {"device n"}, false, false},
        {"tap", Activation::ContentsClicked, {"tap"}, true, false},
        {"tap", Activation::AlternateActionClicked, {"ignore 2"}, false, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.key ? row.key : "(none)");
        Routes routes;
        broker.setNotificationRoutes(&routes);
        host.notifications.removed.set({});
        host.workspace.launched.set({});
        UserNotification notification;
        notification.identifier = "n";
        if (row.key)
            notification.userInfo.emplace().set(row.key, PropertyList(std::int64_t{1}));
        broker.didActivateNotification(notification, row.activation, 2);
        EXPECT_EQ(routes.calls, row.calls);
        EXPECT_EQ(!host.notifications.removed.get().empty(), row.removed);
        EXPECT_EQ(!host.workspace.launched.get().empty(), row.launched);
    }
}

}
}
