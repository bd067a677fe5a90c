#include "hosts/linux/driver_service.h"
#include "hosts/linux/packet.h"
#include "hosts/linux/packet_socket.h"
#include "support/temporary_directory.h"
#include "wire/driver_messages.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <future>
#include <optional>
#include <thread>

namespace vossel {
namespace {

using namespace std::chrono_literals;

void post(const UniqueFd& port, std::string_view message)
{
    EXPECT_EQ(sendPacket(port.get(), {std::as_bytes(std::span(message))}), Sent::Yes);
}

// A connection whose other end the test plays.
class DriverConnectionTest : public ::testing::Test {
protected:
    struct Call {
        CallHeader header = {};
        std::string input;
        UniqueFd port;
    };

    void connect(Clock::Duration timeout = 5s)
    {
        UniqueFd end;
        std::tie(end, driver) = socketPair();
        ours = end.get();
        connection = LinuxDriverConnection::create(std::move(end), timeout);
    }
    Call next() const
    {
        pollfd coming = {driver.get(), POLLIN, 0};
        ::poll(&coming, 1, 20000);
        Packet packet = receivePacket(driver.get());
        Call call;
        if (packet.bytes.size() >= sizeof call.header) {
            std::memcpy(&call.header, packet.bytes.data(), sizeof call.header);
            call.input.assign(
                reinterpret_cast<const char*>(packet.bytes.data()) + sizeof call.header,
                packet.bytes.size() - sizeof call.header);
        }
        if (!packet.descriptors.empty())
            call.port = std::move(packet.descriptors.front());
        return call;
    }
    void reply(std::int32_t status, std::string_view output = {}) const
    {
        std::string packet(sizeof status, '\0');
        std::memcpy(packet.data(), &status, sizeof status);
        post(driver, packet.append(output));
    }
    // The driver takes one call and does this with it.
    template <class Act>
    [[nodiscard]] std::jthread onCall(const Act& act)
    {
        return std::jthread([this, act] {
            Call call = next();
            act(call);
        });
    }
    // Sets a notification port, which the driver answers with `status`; the driver's end of it.
    UniqueFd setPort(std::int32_t status = 0)
    {
        UniqueFd port;
        const std::jthread answer = onCall([&](Call& call) {
            EXPECT_EQ(call.header.kind, PACKET_SET_PORT);
            port = std::move(call.port);
            reply(status);
        });
        EXPECT_EQ(connection->setNotificationPort(connection->createNotificationPort()),
            static_cast<DriverStatus>(status));
        return port;
    }
    DriverStatus call(std::string& output, std::string_view input = "in")
    {
        std::vector<std::byte> buffer(4);
        std::size_t size = 77;
        const auto status = connection->call(METHOD_FILTER_STATUS,
            std::as_bytes(std::span(input.data(), input.size())), buffer, size);
        output.assign(reinterpret_cast<const char*>(buffer.data()), std::min<std::size_t>(size, 4));
        return status;
    }
    std::string received()
    {
        std::vector<std::byte> message;
        return connection->receive(message)
            ? std::string(reinterpret_cast<const char*>(message.data()), message.size())
            : "(end)";
    }
    std::future<std::string> receiving()
    {
        return std::async(std::launch::async, [this] { return received(); });
    }

    std::shared_ptr<LinuxDriverConnection> connection;
    int ours = -1; // the connection's end, which owns it
    UniqueFd driver;
    std::string got;
};

TEST_F(DriverConnectionTest, CallsCarryTheirBytesAndEveryStatusBothWays)
{
    connect();
    EXPECT_EQ(call(got, std::string(maxPacketSize - 7, 'x')), driverUnreachable)
        << "what fits no packet is not sent and harms nothing";
    const std::string most(maxPacketSize - sizeof(CallHeader), 'x');
    for (const auto& [input, status, output] : {std::tuple(std::string("in"), 0, "full"),
             {most, 0, "few"}, {"", -536870212, ""}, {"in", 5, "part"}}) {
        const std::jthread answer = onCall([&, in = input, s = status, o = output](Call& asked) {
            EXPECT_EQ(asked.header.kind, PACKET_CALL);
            EXPECT_EQ(asked.header.selector, METHOD_FILTER_STATUS);
            EXPECT_EQ(asked.input, in);
            EXPECT_FALSE(asked.port);
            reply(s, o);
        });
        EXPECT_EQ(call(got, input), static_cast<DriverStatus>(status));
        EXPECT_EQ(got, output);
    }
}

// Each is an answer that must not be believed, after which the connection is over.
TEST_F(DriverConnectionTest, ALyingDriverEndsTheConnection)
{
    const std::pair<const char*, std::function<void()>> lies[] = {
        {"empty reply", [this] { post(driver, ""); }},
        {"cut status", [this] { post(driver, "abc"); }},
        {"longer than the output", [this] { reply(0, "12345"); }},
        {"vanishes within the call", [this] { driver.reset(); }},
        {"no reply", nullptr},
    };
    for (const auto& [name, lie] : lies) {
        SCOPED_TRACE(name);
        connect(lie ? 5000ms : 20ms);
        const std::jthread answer = onCall([&act = lie](Call&) {
            if (act)
                act();
        });
        EXPECT_EQ(call(got), driverUnreachable);
        EXPECT_EQ(got, "");
        // A late answer is nobody's: the next call does not take it for its own.
        EXPECT_EQ(call(got), driverUnreachable);
        EXPECT_EQ(received(), "(end)");
    }
    connect();
    reply(0, "fake"); // before the call
    EXPECT_EQ(call(got), driverUnreachable);
    EXPECT_EQ(got, "");
    connect(20ms); // a driver that takes nothing out fills the socket
    const std::vector<std::byte> packet(8000);
    while (sendPacket(ours, {packet}) == Sent::Yes) { }
    EXPECT_EQ(call(got), driverUnreachable);
}

TEST_F(DriverConnectionTest, AllThatTheDriverSaidIsHeardBeforeItsEnd)
{
    for (const bool portFirst : {true, false}) {
        connect();
        UniqueFd port = setPort();
        post(port, "one");
        post(port, ""); // no message at all
        post(port, std::string(maxPacketSize + 1, 'x'));
        post(port, std::string(maxPacketSize, 'y'));
        portFirst ? port.reset() : driver.reset();
        EXPECT_EQ(received(), "one");
        EXPECT_EQ(received(), std::string(maxPacketSize, 'y'));
        EXPECT_EQ(received(), "(end)");
    }
}

TEST_F(DriverConnectionTest, APortIsReplacedUnderAWaitingReceive)
{
    connect();
    UniqueFd first = setPort();
    auto message = receiving();
    UniqueFd second;
    {
        // The driver drops the old end before it answers: that is not the connection's end.
        const std::jthread answer = onCall([&](Call& asked) {
            first.reset();
            second = std::move(asked.port);
            post(second, "on the new port");
            reply(0);
        });
        EXPECT_EQ(connection->setNotificationPort(connection->createNotificationPort()), 0u);
    }
    EXPECT_EQ(message.get(), "on the new port");
    EXPECT_TRUE(setPort(13)) << "refused, the one before stays";
    post(second, "still there");
    EXPECT_EQ(received(), "still there");
    EXPECT_EQ(connection->setNotificationPort(0), driverUnreachable);

    message = receiving();
    {
        const std::jthread answer = onCall([&](Call&) {
            second.reset();
            reply(0);
        });
        std::size_t size = 0;
        EXPECT_EQ(connection->call(METHOD_RELEASE_PORT, {}, {}, size), driverSuccess);
    }
    const UniqueFd third = setPort();
    post(third, "claimed back");
    EXPECT_EQ(message.get(), "claimed back") << "releasing a port is not the end either";
    connection.reset();
    char byte = 0;
    EXPECT_EQ(::recv(third.get(), &byte, 1, 0), 0) << "somebody else still holds the port";
}

TEST_F(DriverConnectionTest, ClosingWakesEverybody)
{
    connect();
    const UniqueFd port = setPort();
    auto message = receiving();
    auto status = std::async(std::launch::async, [this] { return call(got); });
    static_cast<void>(next());
    connection->close();
    EXPECT_EQ(message.get(), "(end)");
    EXPECT_EQ(status.get(), driverUnreachable);
    EXPECT_EQ(received(), "(end)");
}

// Calls, notifications and changes of the port at the same time; the checks are the thread
// sanitizer's and the pairing of each reply with its call.
TEST_F(DriverConnectionTest, EverythingAtOnce)
{
    connect();
    static constexpr int rounds = 300;
    std::vector<std::jthread> threads;
    threads.emplace_back([this] {
        UniqueFd port;
        for (int i = 0; i < 4 * rounds; ++i) {
            Call asked = next();
            if (asked.port)
                port = std::move(asked.port);
            if (port) // full, where the test is slow
                static_cast<void>(sendPacket(port.get(), {std::as_bytes(std::span("note", 4))}));
            reply(0, asked.input);
        }
        driver.reset();
    });
    for (const char* name : {"aa", "bb", "cc"})
        threads.emplace_back([this, name] {
            for (int i = 0; i < rounds; ++i) {
                std::string own;
                EXPECT_EQ(call(own, name), driverSuccess);
                EXPECT_EQ(own, name);
            }
        });
    threads.emplace_back([this, name = connection->createNotificationPort()] {
        for (int i = 0; i < rounds; ++i)
            EXPECT_EQ(connection->setNotificationPort(name), driverSuccess);
    });
    for (std::string heard = received(); heard != "(end)"; heard = received())
        EXPECT_EQ(heard, "note");
}

// A socket's file and who listens there.
class DriverServiceTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EXPECT_EQ(service.match(), DriverService::Match::None);
        EXPECT_EQ(service.open(), nullptr);
        auto listening = listenAt(path);
        ASSERT_TRUE(listening) << listening.reason();
        listener = *std::move(listening);
        EXPECT_EQ(service.match(), DriverService::Match::Found);
    }

    const test::TemporaryDirectory folder;
    const std::string path = folder / "s";
    LinuxDriverService service{path};
    UniqueFd listener;
};

TEST_F(DriverServiceTest, FindsAndOpensItsSocketHoweverLongThePath)
{
    EXPECT_NE(service.open(), nullptr);
    const std::string deep = folder / std::string(120, 'd');
    std::filesystem::create_directories(deep);
    std::filesystem::rename(path, deep + "/s"); // a socket that is moved keeps listening
    EXPECT_NE(LinuxDriverService(deep + "/s").open(), nullptr);
    listener.reset();
    EXPECT_EQ(LinuxDriverService(deep + "/s").open(), nullptr) << "nobody listens any more";
    EXPECT_EQ(LinuxDriverService(deep).match(), DriverService::Match::Failed);
}

TEST_F(DriverServiceTest, RefusesADriverOfAnotherUser)
{
    if (::getuid() != 0)
        GTEST_SKIP() << "only root can hand a socket file to another user";
    for (const uid_t owner : {65534u, 0u}) {
        ASSERT_EQ(::chown(path.c_str(), owner, 0), 0);
        EXPECT_EQ(service.open() != nullptr, owner == 0) << owner;
    }
}

TEST(PacketSocketTest, IsTakenOverOnlyWhenNobodyAnswers)
{
    const test::TemporaryDirectory folder;
    // An address holds no path as long as the second.
    for (const std::string& prefix : {folder / "short", folder / std::string(200, 'p')}) {
        const std::string path = prefix + "/run/VosselDriver.sock";
        {
            const Result<UniqueFd> listening = listenAt(path);
            ASSERT_TRUE(listening) << listening.reason();
            EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0666));
            EXPECT_NE(listenAt(path).reason().find("another driver"), std::string::npos);
        }
        EXPECT_TRUE(listenAt(path)) << "a dead driver left its socket";
    }
    ASSERT_TRUE(writeFile(folder / "file", "kept"));
    EXPECT_FALSE(listenAt(folder / "file"));
    EXPECT_FALSE(listenAt(folder / std::string(120, 'x')));
    EXPECT_TRUE(fileExists(folder / "file"));
}

}
}
