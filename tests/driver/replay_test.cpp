#include "driver/replay/replay.h"
#include "test_agent.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <numeric>
#include <sstream>

namespace vossel {
namespace {

using nlohmann::json;
using test::TestAgent;

class ReplayStory : public testing::Test {
protected:
    TestAgent start(const std::vector<std::uint32_t>& tokens, const Replay::Settings& settings = {})
    {
        status = -1;
        replay.reset();
        driver.emplace();
        std::string messages;
        for (const std::uint32_t token : tokens) {
            policy_query_message message = {};
            message.type = MSG_POLICY_QUERY;
            message.policy_query_.security_token = token;
            messages.append(reinterpret_cast<const char*>(&message), sizeof message);
        }
        replay.emplace(driver->server, messages, settings, out,
            [this](int exit, const std::string&) { status = exit; });
        EXPECT_TRUE(driver->server.listen(driver->path, *replay));
        driver->afterStep = [this] { tick(std::chrono::seconds(0)); };
        return driver->agent();
    }
    // One with a port, which has been sent the first message.
    TestAgent startAsked(const std::vector<std::uint32_t>& tokens)
    {
        TestAgent agent = start(tokens);
        EXPECT_TRUE(agent.ready());
        EXPECT_EQ(agent.nextToken(), tokens.front());
        return agent;
    }
    void tick(std::chrono::seconds later) { replay->tick(Replay::Clock::now() + later); }
    std::vector<json> lines() const
    {
        std::vector<json> all;
        std::istringstream text(out.str());
        for (std::string line; std::getline(text, line);)
            all.push_back(json::parse(line));
        return all;
    }

    std::ostringstream out;
    int status = -1; // none yet
    std::optional<test::SteppingDriver> driver;
    std::optional<Replay> replay;
};

TEST_F(ReplayStory, SendsOneAfterTheOtherAndShowsEachAnswer)
{
    TestAgent agent = start({7, 9}, {.filtering = false});
    ASSERT_TRUE(agent.ready());
    EXPECT_EQ(agent.call(METHOD_FILTER_STATUS, agent.key), CALL_NOT_FILTERING);
    EXPECT_EQ(agent.call(METHOD_START_FILTER), CALL_DONE);
    EXPECT_EQ(agent.call(METHOD_FILTER_STATUS, agent.key), CALL_DONE);
    ASSERT_EQ(agent.nextToken(), 7u);
    EXPECT_FALSE(agent.hasNext());
    user_prompt_response response
        = test::answer(DECISION_DENY, "/a/\xff\"b", DURATION_FOREVER, PATH_PREFIX);
    response.pid = 4000000000u;
    std::memset(response.user_data, 'u', sizeof response.user_data);
    EXPECT_EQ(agent.respond(response, 7), CALL_DONE);
    EXPECT_TRUE(out.str().starts_with(
        R"({"duration":3,"decision":1,"code":0,"pathType":0,"process":2,"constraint_type":2,)"
        R"("path":"/a/�\"b","user_data":")"
        + std::string(1024, 'u')
        + R"(","operations":23,"security_token":7,"pid":4000000000,"skeyMatches":true,"index":0,)"
        + R"("milliseconds":)"))
        << out.str();
    EXPECT_EQ(status, -1);
    ASSERT_EQ(agent.nextToken(), 9u);
    EXPECT_EQ(agent.respond({}, 9), CALL_DONE);
    EXPECT_EQ(status, 0);
}

TEST_F(ReplayStory, SendsAllAtOnceAndMatchesAnswersByToken)
{
    std::vector<std::uint32_t> tokens(1000); // far more than a socket holds
    std::iota(tokens.begin(), tokens.end(), 1);
    tokens[2] = 2;
    TestAgent agent = start(tokens, {.allAtOnce = true});
    ASSERT_TRUE(agent.ready());
    for (int i = 0; i < 20; ++i)
        driver->step(); // it reads late
    for (const std::uint32_t token : tokens)
        ASSERT_EQ(agent.nextToken(), token);
    EXPECT_EQ(agent.respond({}, 5000), CALL_NO_QUERY);
    std::vector<int> expected = {-1};
    for (int i = 999; i >= 0; --i) {
        EXPECT_EQ(agent.respond({}, tokens[static_cast<std::size_t>(i)]), CALL_DONE);
        expected.push_back(i == 2 ? 1 : i == 1 ? 2 : i); // of equal ones the first that was sent
    }
    std::vector<int> indices;
    for (const json& line : lines())
        indices.push_back(line["index"]);
    EXPECT_EQ(indices, expected);
    EXPECT_EQ(status, 0);
}

TEST_F(ReplayStory, DoesNotTakeAnAnswerWithAnotherKey)
{
    TestAgent agent = startAsked({7});
    const TestAgent::Bytes key = std::exchange(agent.key, TestAgent::Bytes(64, 1));
    EXPECT_EQ(agent.respond({}, 7), CALL_BAD_KEY);
    EXPECT_EQ(lines().at(0)["skeyMatches"], false);
    TestAgent other = driver->agent();
    ASSERT_TRUE(other.ready());
    EXPECT_EQ(other.respond({}, 7), CALL_NO_QUERY) << "it was asked nothing";
    other.key.assign(64, 1);
    EXPECT_EQ(other.respond({}, 7), CALL_NO_QUERY);
    EXPECT_EQ(lines().size(), 1u);
    EXPECT_EQ(status, -1);
    agent.key = key;
    EXPECT_EQ(agent.respond({}, 7), CALL_DONE);
    EXPECT_EQ(status, 0);
}

TEST_F(ReplayStory, EndsWithTheAgentOrWithItsPatience)
{
    const auto statusAfter = [this](int seconds) {
        tick(std::chrono::seconds(seconds));
        return status;
    };
    start({7});
    EXPECT_EQ(statusAfter(29), -1);
    EXPECT_EQ(statusAfter(31), 2) << "no agent came";
    {
        const TestAgent silent = startAsked({7});
        EXPECT_EQ(statusAfter(64), -1);
        EXPECT_EQ(statusAfter(66), 1);
    }
    TestAgent agent = startAsked({7});
    EXPECT_EQ(agent.call(METHOD_RELEASE_PORT, agent.key), CALL_DONE);
    EXPECT_EQ(status, -1) << "it may claim the port again";
    agent.socket.reset();
    driver->step();
    EXPECT_EQ(status, 1);
}

TEST(ReplayFile, IsAWholeNumberOfMessages)
{
    const test::TemporaryDirectory folder;
    const std::string path = folder / "messages";
    EXPECT_FALSE(Replay::load(path));
    for (const std::size_t size : {0u, 1u, 3356u, 3383u, 3385u, 2 * 3384u}) {
        ASSERT_TRUE(writeFile(path, std::string(size, 'x')));
        EXPECT_EQ(bool(Replay::load(path)), size == 2 * 3384u) << size;
    }
}

}
}
