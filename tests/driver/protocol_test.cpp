#include "driver/agent_policy.h"
#include "stepping_driver.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>

#include <filesystem>

namespace vossel {
namespace {

using test::TestAgent;
using Bytes = TestAgent::Bytes;

// Writes down what gets through to it.
class RecordingHandler : public SessionHandler {
public:
    [[nodiscard]] bool mayControl(const UserClient&) const override { return controllable; }
    std::int32_t startFilter() override { return note("start"); }
    std::int32_t stopFilter() override { return note("stop"); }
    [[nodiscard]] bool isFiltering() const override { return filtering; }
    std::int32_t deliverResponse(
        UserClient&, const user_prompt_response& response, bool keyMatches) override
    {
        note("response " + std::to_string(response.security_token));
        return keyMatches ? CALL_DONE : CALL_BAD_KEY;
    }
    void portReady(UserClient&) override { note("ready"); }
    void portGone(UserClient& client) override { note(client.receives ? "replaced" : "gone"); }

    std::int32_t note(const std::string& what)
    {
        seen += what + ";";
        return CALL_DONE;
    }

    std::string seen;
    bool controllable = true;
    bool filtering = true;
};

class Protocol : public testing::Test {
protected:
    void SetUp() override
    {
        driver.listen(handler);
        agent.emplace(driver.agent());
        ASSERT_TRUE(agent->isConnected());
    }

    RecordingHandler handler;
    test::SteppingDriver driver;
    std::optional<TestAgent> agent;
};

Bytes sized(std::size_t size)
{
    return Bytes(size, 0x41);
}

TEST_F(Protocol, RefusesEveryMalformedPacketAndChangesNothing)
{
    ASSERT_TRUE(agent->ready());
    handler.seen.clear();
    const UniqueFd null(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const UniqueFd stream(::socket(AF_UNIX, SOCK_STREAM, 0));
    const UniqueFd lonely(::socket(AF_UNIX, SOCK_SEQPACKET, 0));
    int pair[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, pair), 0);
    const UniqueFd one(pair[0]), two(pair[1]);
    const std::vector<int> tooMany(20, one.get());

    const struct {
        const char* what;
        std::uint32_t kind, selector;
        Bytes input;
        std::vector<int> descriptors;
        std::int32_t status;
    } rows[] = {
        {"unknown kind", 3, 6, {}, {}, CALL_BAD_REQUEST},
        {"kind 0", 0, 6, {}, {}, CALL_BAD_REQUEST},
        {"unknown method", 1, 9, agent->key, {}, CALL_BAD_REQUEST},
        {"method far beyond", 1, 0xffffffff, agent->key, {}, CALL_BAD_REQUEST},
        {"start with input", 1, 2, sized(64), {}, CALL_BAD_REQUEST},
        {"open with input", 1, 6, sized(1), {}, CALL_BAD_REQUEST},
        {"stop without key", 1, 3, {}, {}, CALL_BAD_REQUEST},
        {"short key", 1, 7, sized(63), {}, CALL_BAD_REQUEST},
        {"long key", 1, 7, sized(65), {}, CALL_BAD_REQUEST},
        {"wrong key", 1, 3, sized(64), {}, CALL_BAD_KEY},
        {"wrong key for the port", 1, 11, sized(64), {}, CALL_BAD_KEY},
        {"short response", 1, 10, sized(2147), {}, CALL_BAD_REQUEST},
        {"long response", 1, 10, sized(2149), {}, CALL_BAD_REQUEST},
        {"longer than any packet", 1, 10, sized(20000), {}, CALL_BAD_REQUEST},
        {"call with a descriptor", 1, 6, {}, {one.get()}, CALL_BAD_REQUEST},
        {"port without descriptor", 2, 0, {}, {}, CALL_BAD_REQUEST},
        {"port with two", 2, 0, {}, {one.get(), two.get()}, CALL_BAD_REQUEST},
        {"port with twenty", 2, 0, {}, tooMany, CALL_BAD_REQUEST},
        {"port with input", 2, 0, sized(1), {one.get()}, CALL_BAD_REQUEST},
        {"port with selector", 2, 1, {}, {one.get()}, CALL_BAD_REQUEST},
        {"port that is a file", 2, 0, {}, {null.get()}, CALL_BAD_PORT},
        {"port that is a stream", 2, 0, {}, {stream.get()}, CALL_BAD_PORT},
        {"port without other end", 2, 0, {}, {lonely.get()}, CALL_BAD_PORT},
    };
    const auto descriptors
        = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto before = descriptors();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(agent->packet(row.kind, row.selector, row.input, row.descriptors), row.status);
        EXPECT_TRUE(agent->output.empty());
    }
    for (const std::size_t size : {0u, 1u, 7u})
        EXPECT_EQ(agent->exchange(sized(size)), CALL_BAD_REQUEST) << size << " bytes in all";
    EXPECT_EQ(descriptors(), before) << "every descriptor that nobody asked for is closed";
    EXPECT_EQ(handler.seen, "");
    EXPECT_EQ(agent->call(METHOD_FILTER_STATUS, agent->key), CALL_DONE) << "the session lives on";
}

TEST_F(Protocol, CarriesOutTheMethodTable)
{
    EXPECT_EQ(agent->registerPort(), CALL_NO_SESSION);
    EXPECT_EQ(agent->call(METHOD_FILTER_STATUS, sized(64)), CALL_NO_SESSION);
    ASSERT_EQ(agent->openSession(), CALL_DONE);
    const Bytes first = agent->key;
    ASSERT_EQ(agent->openSession(), CALL_DONE);
    ASSERT_EQ(agent->key.size(), sessionKeySize);
    EXPECT_NE(agent->key, first);
    EXPECT_EQ(agent->call(METHOD_FILTER_STATUS, first), CALL_BAD_KEY) << "only the newest counts";
    Bytes almost = agent->key;
    almost.back() ^= 1;
    EXPECT_EQ(agent->call(METHOD_STOP_FILTER, almost), CALL_BAD_KEY);

    EXPECT_EQ(agent->call(METHOD_START_FILTER), CALL_DONE);
    EXPECT_EQ(agent->call(METHOD_STOP_FILTER, agent->key), CALL_DONE);
    EXPECT_EQ(agent->call(METHOD_RELOAD_RULES, agent->key), CALL_DONE);
    EXPECT_EQ(agent->call(METHOD_RELOAD_QUIET, agent->key), CALL_DONE);
    EXPECT_EQ(agent->respond({}, 42), CALL_DONE);
    handler.filtering = false;
    EXPECT_EQ(agent->call(METHOD_FILTER_STATUS, agent->key), CALL_NOT_FILTERING);
    handler.controllable = false;
    EXPECT_EQ(agent->call(METHOD_START_FILTER), CALL_NOT_PERMITTED);
    EXPECT_EQ(agent->call(METHOD_STOP_FILTER, agent->key), CALL_NOT_PERMITTED);
    EXPECT_EQ(handler.seen, "start;stop;response 42;");
}

TEST_F(Protocol, KeepsAReleasedPortOpenUntilItIsReplaced)
{
    ASSERT_TRUE(agent->ready());
    EXPECT_EQ(agent->call(METHOD_RELEASE_PORT, agent->key), CALL_DONE);
    notifyFilterStopped(driver.server);
    char byte;
    EXPECT_EQ(::recv(agent->port.get(), &byte, 1, MSG_DONTWAIT), -1) << "neither message nor end";
    const UniqueFd released(agent->port.release());
    ASSERT_TRUE(agent->ready());
    EXPECT_EQ(::recv(released.get(), &byte, 1, MSG_DONTWAIT), 0);
    notifyFilterStopped(driver.server);
    const auto message = agent->next();
    ASSERT_TRUE(message);
    EXPECT_EQ(message->size(), messagePayloadOffset);
    const UniqueFd replaced(agent->port.release());
    EXPECT_EQ(agent->registerPort(), CALL_DONE);
    agent->disconnect();
    driver.step();
    EXPECT_EQ(handler.seen, "ready;gone;ready;replaced;ready;gone;");
    EXPECT_TRUE(driver.server.clients().empty());
}

TEST_F(Protocol, NeverWaitsForAnAgentThatDoesNotRead)
{
    ASSERT_TRUE(agent->ready());
    UserClient& client = *driver.server.clients().begin()->second;
    const std::vector<std::byte> message(sizeof(policy_query_message));
    Sent sent = Sent::Yes;
    for (int i = 0; i < 100000 && sent == Sent::Yes; ++i)
        sent = driver.server.notify(client, message);
    ASSERT_EQ(sent, Sent::Full);
    while (agent->hasNext() && handler.seen == "ready;")
        static_cast<void>(agent->next());
    EXPECT_EQ(handler.seen, "ready;ready;") << "told once there is room again";
    agent->port.reset();
    driver.step();
    EXPECT_EQ(driver.server.notify(client, message), Sent::Gone);
}

TEST_F(Protocol, BoundsTheConnectionsOfAUser)
{
    std::vector<TestAgent> agents;
    while (agents.size() < SessionServer::mostConnections + 8) {
        agents.push_back(driver.agent());
        driver.step();
    }
    const std::size_t most
        = ::getuid() == 0 ? SessionServer::mostConnections : SessionServer::mostConnectionsPerUser;
    EXPECT_EQ(driver.server.clients().size(), most);
    EXPECT_EQ(agent->openSession(), CALL_DONE) << "who came in time is served";
}

TEST(DriverSocket, IsTakenOverOnlyWhenNobodyAnswers)
{
    RecordingHandler handler;
    const test::TemporaryDirectory folder;
    EventLoop loop;
    // An address holds no path as long as the second.
    for (const std::string& prefix : {folder.path(), folder / std::string(200, 'p')}) {
        const std::string path = prefix + "/run/vossel/VosselDriver.sock";
        {
            SessionServer first(loop), second(loop);
            const Result<bool> listening = first.listen(path, handler);
            ASSERT_TRUE(listening) << listening.reason();
            EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0666));
            EXPECT_NE(
                second.listen(path, handler).reason().find("another driver"), std::string::npos);
        }
        EXPECT_FALSE(fileExists(path)) << "removed at the end";
        {
            const UniqueFd stale(::socket(AF_UNIX, SOCK_SEQPACKET, 0));
            sockaddr_un address = {};
            address.sun_family = AF_UNIX;
            std::strncpy(address.sun_path, (folder / "stale").c_str(), sizeof address.sun_path - 1);
            ASSERT_EQ(
                ::bind(stale.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
            std::filesystem::rename(folder / "stale", path);
        }
        SessionServer third(loop);
        EXPECT_TRUE(third.listen(path, handler));
    }
    const std::string file = folder / "file";
    ASSERT_TRUE(writeFile(file, "kept"));
    SessionServer fourth(loop);
    EXPECT_FALSE(fourth.listen(file, handler));
    EXPECT_TRUE(fileExists(file));
    EXPECT_FALSE(fourth.listen(folder / std::string(120, 'x'), handler));
}

TEST(AgentPolicy, RanksAgents)
{
    const struct {
        uid_t agent, process;
        std::optional<uid_t> configured;
        AgentRank rank;
    } rows[] = {
        {1000, 1001, 1000, AgentRank::ConfiguredUser},
        {0, 1001, 1000, AgentRank::Root},
        {0, 1001, 0, AgentRank::ConfiguredUser},
        {1001, 1001, 1000, AgentRank::SameUser},
        {1001, 1001, std::nullopt, AgentRank::SameUser},
        {1001, 1002, 1000, AgentRank::None},
        {1001, 0, std::nullopt, AgentRank::None},
    };
    for (const auto& row : rows)
        EXPECT_EQ(agentRank(row.agent, row.process, row.configured), row.rank)
            << row.agent << " about " << row.process;
}

}
}
