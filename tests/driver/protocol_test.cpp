#include "desk_fixture.h"
#include "driver/desk/agent_policy.h"

#include <sys/stat.h>

#include <filesystem>

namespace vossel {
namespace {

using test::TestAgent;
using Bytes = TestAgent::Bytes;

class Protocol : public test::Desk { };

TEST_F(Protocol, RefusesEveryMalformedPacketAndChangesNothing)
{
    TestAgent agent = start();
    ask("a", "/g/a");
    const UniqueFd stream(::socket(AF_UNIX, SOCK_STREAM, 0));
    const UniqueFd lonely(::socket(AF_UNIX, SOCK_SEQPACKET, 0));
    const int port = agent.port.get();
    const auto sized = [](std::size_t size) { return Bytes(size, 0x41); };

    const struct {
        const char* what;
        std::uint32_t kind, selector;
        Bytes input;
        std::vector<int> descriptors;
        std::int32_t status = CALL_BAD_REQUEST;
        std::size_t headerSize = sizeof(CallHeader);
    } rows[] = {
        {"nothing", 1, 6, {}, {}, CALL_BAD_REQUEST, 0},
        {"less than a header", 1, 6, {}, {}, CALL_BAD_REQUEST, 7},
        {"unknown kind", 3, 6, {}, {}},
        {"unknown method", 1, 9, agent.key, {}},
        {"start with input", 1, 2, sized(64), {}},
        {"open with input", 1, 6, sized(1), {}},
        {"stop without key", 1, 3, {}, {}},
        {"short key", 1, 7, sized(63), {}},
        {"long key", 1, 7, sized(65), {}},
        {"wrong key", 1, 3, sized(64), {}, CALL_BAD_KEY},
        {"short response", 1, 10, sized(2147), {}},
        {"long response", 1, 10, sized(2149), {}},
        {"longer than any packet", 1, 10, sized(20000), {}},
        {"call with a descriptor", 1, 6, {}, {port}},
        {"port without descriptor", 2, 0, {}, {}},
        {"port with two", 2, 0, {}, {port, port}},
        {"port with twenty", 2, 0, {}, std::vector<int>(20, port)},
        {"port with input", 2, 0, sized(1), {port}},
        {"port with selector", 2, 1, {}, {port}},
        {"port that is a stream", 2, 0, {}, {stream.get()}, CALL_BAD_PORT},
        {"port without other end", 2, 0, {}, {lonely.get()}, CALL_BAD_PORT},
    };
    const auto descriptors
        = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto before = descriptors();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(agent.packet(row.kind, row.selector, row.input, row.descriptors, row.headerSize),
            row.status);
        EXPECT_TRUE(agent.output.empty());
    }
    EXPECT_EQ(descriptors(), before) << "every descriptor that nobody asked for is closed";
    EXPECT_EQ(agent.call(METHOD_FILTER_STATUS, agent.key), CALL_DONE) << "the session lives on";
    EXPECT_EQ(outcomes, "");
    reply(agent, "/g/a", DECISION_ALLOW);
}

TEST_F(Protocol, AnswersWhatWasSentBeforeTheEndOfSending)
{
    TestAgent agent = start();
    agent.send(PACKET_CALL, METHOD_FILTER_STATUS, {}, {}, 0); // says nothing
    agent.send(PACKET_CALL, METHOD_FILTER_STATUS, agent.key, {});
    ASSERT_EQ(::shutdown(agent.socket.get(), SHUT_WR), 0);
    EXPECT_EQ(agent.status(), CALL_BAD_REQUEST);
    EXPECT_EQ(agent.status(), CALL_DONE);
    EXPECT_EQ(agent.status(), -1);
    EXPECT_TRUE(driver->server.clients().empty());
}

TEST_F(Protocol, TakesTheNewestKeyAlone)
{
    start();
    driver->step();
    TestAgent agent = driver->agent();
    EXPECT_EQ(agent.registerPort(), CALL_NO_SESSION);
    EXPECT_EQ(agent.call(METHOD_FILTER_STATUS, Bytes(64)), CALL_NO_SESSION);
    ASSERT_EQ(agent.openSession(), CALL_DONE);
    const Bytes first = agent.key;
    ASSERT_TRUE(agent.ready());
    Bytes almost = agent.key;
    almost.back() ^= 1;
    ask("a", "/g/a");
    const std::uint32_t query = agent.nextToken();
    const Bytes newest = agent.key;
    for (const Bytes& key : {first, almost, newest}) {
        const std::int32_t status = key == newest ? CALL_DONE : CALL_BAD_KEY;
        agent.key = key;
        EXPECT_EQ(agent.respond({}, query), status);
        for (const MethodSelector method :
            {METHOD_RELOAD_RULES, METHOD_RELOAD_QUIET, METHOD_FILTER_STATUS, METHOD_STOP_FILTER})
            EXPECT_EQ(agent.call(method, key), status) << method;
    }
    EXPECT_EQ(agent.call(METHOD_FILTER_STATUS, newest), CALL_NOT_FILTERING);
    EXPECT_EQ(outcomes, "a+");
}

TEST_F(Protocol, KeepsAReleasedPortOpenUntilItIsReplaced)
{
    TestAgent agent = start();
    EXPECT_EQ(agent.call(METHOD_RELEASE_PORT, agent.key), CALL_DONE);
    notifyFilterStopped(driver->server);
    EXPECT_FALSE(agent.hasNext()) << "neither message nor end";
    const UniqueFd released(agent.port.release());
    ASSERT_TRUE(agent.ready());
    char byte;
    EXPECT_EQ(::recv(released.get(), &byte, 1, MSG_DONTWAIT), 0);
    ask("a", "/g/a");
    EXPECT_NE(agent.nextToken(), 0u);
    EXPECT_EQ(agent.registerPort(), CALL_DONE);
    EXPECT_NE(agent.nextToken(), 0u) << "on the new port again";
}

TEST_F(Protocol, NeverWaitsForAnAgentThatDoesNotRead)
{
    TestAgent agent = start();
    UserClient& client = *driver->server.clients().begin()->second;
    const std::vector<std::byte> message(100);
    while (driver->server.notify(client, message) == Sent::Yes) { }
    ask("a", "/g/a");
    Bytes last;
    while (agent.hasNext())
        last = agent.next();
    EXPECT_EQ(last.size(), sizeof(policy_query_message)) << "sent once there is room again";
}

TEST_F(Protocol, BoundsTheConnectionsOfAUser)
{
    start();
    driver->step();
    ASSERT_EQ(::chmod(driver->folder.path().c_str(), 0755), 0);
    std::vector<TestAgent> agents;
    const auto connect = [&](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i, driver->step())
            agents.push_back(driver->agent());
        return driver->server.clients().size();
    };
    static_cast<void>(::seteuid(4711)); // where this is root, whose connections are not counted
    EXPECT_EQ(connect(20), SessionServer::maxConnectionsPerUser);
    static_cast<void>(::seteuid(::getuid()));
    if (::getuid() == 0) {
        EXPECT_EQ(connect(250), SessionServer::maxConnections);
    }
    EXPECT_EQ(agents[0].openSession(), CALL_DONE) << "who came in time is served";
}

TEST(AgentPolicy, RanksAgents)
{
    using enum AgentRank;
    const struct {
        uid_t agent, process;
        std::optional<uid_t> configured;
        AgentRank rank;
    } rows[] = {{1000, 1001, 1000, ConfiguredUser}, {0, 1001, 1000, Root},
        {0, 1001, 0, ConfiguredUser}, {1001, 1001, 1000, SameUser}, {1001, 1001, {}, SameUser},
        {1001, 1002, 1000, None}, {1001, 0, {}, None}};
    for (const auto& row : rows)
        EXPECT_EQ(agentRank(row.agent, row.process, row.configured), row.rank)
            << row.agent << " about " << row.process;
}

}
}
