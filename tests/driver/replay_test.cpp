#include "driver/replay.h"
#include "stepping_driver.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace vossel {
namespace {

using nlohmann::json;
using test::TestAgent;

std::string messages(const std::vector<std::uint32_t>& tokens)
{
    std::string all;
    for (const std::uint32_t token : tokens) {
        policy_query_message message = {};
        message.type = MSG_POLICY_QUERY;
        message.policy_query_.security_token = token;
        all.append(reinterpret_cast<const char*>(&message), sizeof message);
    }
    return all;
}

class ReplayStory : public testing::Test {
protected:
    void start(const std::vector<std::uint32_t>& tokens, const Replay::Settings& settings = {})
    {
        replay.emplace(driver.server, messages(tokens), settings, out,
            [this](int exit, const std::string& why) {
                status = exit;
                reason = why;
            });
        driver.listen(*replay);
        driver.afterStep = [this] { replay->tick(Replay::Clock::now()); };
    }
    std::uint32_t nextToken(TestAgent& agent)
    {
        const std::optional<policy_query> query = agent.nextQuery();
        return query ? query->security_token : 0;
    }
    json line(std::size_t index)
    {
        std::istringstream lines(out.str());
        std::string text;
        for (std::size_t i = 0; i <= index; ++i)
            if (!std::getline(lines, text))
                return {};
        return json::parse(text);
    }

    std::ostringstream out;
    std::optional<int> status;
    std::string reason;
    test::SteppingDriver driver;
    std::optional<Replay> replay;
};

TEST_F(ReplayStory, SendsOneAfterTheOtherAndShowsEachAnswer)
{
    start({7, 9});
    TestAgent agent = driver.agent();
    ASSERT_TRUE(agent.ready());
    EXPECT_EQ(agent.call(METHOD_FILTER_STATUS, agent.key), CALL_DONE);
    ASSERT_EQ(nextToken(agent), 7u);
    EXPECT_FALSE(agent.hasNext());
    user_prompt_response response
        = test::answer(DECISION_DENY, DURATION_FOREVER, "/a/\xff\"b", PATH_PREFIX);
    response.pid = 4000000000u;
    std::memset(response.user_data, 'u', sizeof response.user_data);
    EXPECT_EQ(agent.respond(response, 7), CALL_DONE);
    json shown = line(0);
    EXPECT_TRUE(shown["milliseconds"].is_number());
    shown.erase("milliseconds");
    EXPECT_EQ(shown,
        (json{{"duration", 3}, {"decision", 1}, {"code", 0}, {"pathType", 0}, {"process", 2},
            {"constraint_type", 2}, {"path", "/a/\xEF\xBF\xBD\"b"},
            {"user_data", std::string(1024, 'u')}, {"operations", 23}, {"security_token", 7},
            {"pid", 4000000000u}, {"skeyMatches", true}, {"index", 0}}));
    EXPECT_FALSE(status);
    ASSERT_EQ(nextToken(agent), 9u);
    EXPECT_EQ(agent.respond({}, 9), CALL_DONE);
    EXPECT_EQ(line(1)["index"], 1);
    EXPECT_EQ(status, 0);
}

TEST_F(ReplayStory, SendsAllAtOnceAndMatchesAnswersByToken)
{
    Replay::Settings settings;
    settings.allAtOnce = true;
    start({1, 2, 2, 3}, settings);
    TestAgent agent = driver.agent();
    ASSERT_TRUE(agent.ready());
    for (const std::uint32_t token : {1u, 2u, 2u, 3u})
        ASSERT_EQ(nextToken(agent), token);
    for (const std::uint32_t token : {3u, 2u, 5u, 2u, 1u})
        EXPECT_EQ(agent.respond({}, token), token == 5 ? CALL_NO_QUERY : CALL_DONE);
    std::vector<int> indices;
    for (std::size_t i = 0; i < 5; ++i)
        indices.push_back(line(i)["index"]);
    EXPECT_EQ(indices, (std::vector{3, 1, -1, 2, 0}));
    EXPECT_EQ(status, 0);
}

TEST_F(ReplayStory, FeedsAnAgentThatReadsLate)
{
    constexpr std::uint32_t count = 2000; // far more than a socket holds
    std::vector<std::uint32_t> tokens(count);
    for (std::uint32_t i = 0; i < count; ++i)
        tokens[i] = i + 1;
    Replay::Settings settings;
    settings.allAtOnce = true;
    start(tokens, settings);
    TestAgent agent = driver.agent();
    ASSERT_TRUE(agent.ready());
    for (int i = 0; i < 20; ++i)
        driver.step();
    for (std::uint32_t i = 0; i < count; ++i)
        ASSERT_EQ(nextToken(agent), i + 1);
    for (std::uint32_t i = count; i > 0; --i)
        ASSERT_EQ(agent.respond({}, i), CALL_DONE);
    EXPECT_EQ(line(count - 1)["index"], 0);
    EXPECT_EQ(status, 0);
}

TEST_F(ReplayStory, DoesNotTakeAnAnswerWithAnotherKey)
{
    start({7});
    TestAgent agent = driver.agent();
    ASSERT_TRUE(agent.ready());
    ASSERT_EQ(nextToken(agent), 7u);
    const TestAgent::Bytes key = std::exchange(agent.key, TestAgent::Bytes(64, 1));
    EXPECT_EQ(agent.respond({}, 7), CALL_BAD_KEY);
    EXPECT_EQ(line(0)["skeyMatches"], false);
    EXPECT_EQ(line(0)["index"], 0);
    EXPECT_FALSE(status);
    agent.key = key;
    const std::string shown = out.str();
    TestAgent other = driver.agent();
    for (const bool registered : {false, true}) {
        ASSERT_EQ(registered ? other.registerPort() : other.openSession(), CALL_DONE);
        EXPECT_EQ(other.respond({}, 7), CALL_NO_QUERY) << "it was asked nothing";
        other.key.assign(64, 1);
        EXPECT_EQ(other.respond({}, 7), CALL_NO_QUERY);
        EXPECT_EQ(other.openSession(), CALL_DONE);
    }
    EXPECT_EQ(out.str(), shown);
    EXPECT_FALSE(status);
    EXPECT_EQ(agent.respond({}, 7), CALL_DONE);
    EXPECT_EQ(status, 0);
}

TEST_F(ReplayStory, EndsWithTheAgent)
{
    start({7});
    TestAgent agent = driver.agent();
    ASSERT_TRUE(agent.ready());
    ASSERT_EQ(nextToken(agent), 7u);
    EXPECT_EQ(agent.call(METHOD_RELEASE_PORT, agent.key), CALL_DONE);
    EXPECT_FALSE(status) << "it may claim the port again";
    agent.disconnect();
    driver.step();
    EXPECT_EQ(status, 1);
    EXPECT_FALSE(reason.empty());
}

TEST_F(ReplayStory, WaitsOnlySoLong)
{
    start({7});
    replay->tick(Replay::Clock::now() + std::chrono::seconds(29));
    EXPECT_FALSE(status);
    replay->tick(Replay::Clock::now() + std::chrono::seconds(31));
    EXPECT_EQ(status, 2) << "no agent came";

    test::SteppingDriver own;
    std::optional<int> exit;
    Replay unanswered(
        own.server, messages({7}), {}, out, [&exit](int code, const std::string&) { exit = code; });
    own.listen(unanswered);
    own.afterStep = [&] { unanswered.tick(Replay::Clock::now()); };
    TestAgent agent = own.agent();
    ASSERT_TRUE(agent.ready());
    ASSERT_EQ(nextToken(agent), 7u);
    unanswered.tick(Replay::Clock::now() + std::chrono::seconds(64));
    EXPECT_FALSE(exit);
    unanswered.tick(Replay::Clock::now() + std::chrono::seconds(66));
    EXPECT_EQ(exit, 1);
}

TEST_F(ReplayStory, ShowsAnInactiveFilter)
{
    Replay::Settings settings;
    settings.filtering = false;
    start({7}, settings);
    TestAgent agent = driver.agent();
    ASSERT_TRUE(agent.ready());
    EXPECT_EQ(agent.call(METHOD_FILTER_STATUS, agent.key), CALL_NOT_FILTERING);
    EXPECT_EQ(nextToken(agent), 7u) << "the agent is asked all the same";
    EXPECT_EQ(agent.call(METHOD_START_FILTER), CALL_DONE);
    EXPECT_EQ(agent.call(METHOD_FILTER_STATUS, agent.key), CALL_DONE);
}

TEST(ReplayFile, IsAWholeNumberOfMessages)
{
    const test::TemporaryDirectory folder;
    const std::string path = folder / "messages";
    for (const std::size_t size : {0u, 1u, 3356u, 3383u, 3385u}) {
        ASSERT_TRUE(writeFile(path, std::string(size, 'x')));
        const Result<std::string> loaded = Replay::load(path);
        ASSERT_FALSE(loaded) << size;
        EXPECT_NE(loaded.reason().find(path), std::string::npos);
    }
    EXPECT_FALSE(Replay::load(folder / "missing"));
    ASSERT_TRUE(writeFile(path, std::string(2 * 3384, 'x')));
    EXPECT_TRUE(Replay::load(path));
}

}
}
