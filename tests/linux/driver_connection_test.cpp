#include "hosts/linux/driver_service.h"
#include "support/temporary_directory.h"
#include "wire/driver_messages.h"
#include "wire/driver_transport.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
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
using Bytes = std::vector<std::byte>;

Bytes bytes(std::string_view text)
{
    const auto view = std::as_bytes(std::span(text.data(), text.size()));
    return {view.begin(), view.end()};
}

// The driver's end of a connection, played by the test.
class Peer {
public:
    explicit Peer(int fd)
        : fd_(fd)
    {
    }

    struct Call {
        CallHeader header = {};
        std::string input;
        UniqueFd port;
    };

    [[nodiscard]] Call next() const
    {
        Call call;
        char input[largestPacket] = {};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
        iovec pieces[] = {{&call.header, sizeof call.header}, {input, sizeof input}};
        msghdr message = {};
        message.msg_iov = pieces;
        message.msg_iovlen = 2;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        const auto size = ::recvmsg(fd_.get(), &message, MSG_CMSG_CLOEXEC);
        if (size > static_cast<ssize_t>(sizeof call.header))
            call.input.assign(input, static_cast<std::size_t>(size) - sizeof call.header);
        if (const cmsghdr* rights = CMSG_FIRSTHDR(&message)) {
            int fd = -1;
            std::memcpy(&fd, CMSG_DATA(rights), sizeof fd);
            call.port.reset(fd);
        }
        return call;
    }
    void reply(std::int32_t status, std::string_view output = {}) const
    {
        std::string packet(sizeof status, '\0');
        std::memcpy(packet.data(), &status, sizeof status);
        raw(packet.append(output));
    }
    void raw(std::string_view packet) const { post(fd_.get(), packet); }
    void hangUp() { fd_.reset(); }

    static void post(int port, std::string_view message)
    {
        EXPECT_EQ(::send(port, message.data(), message.size(), MSG_NOSIGNAL),
            static_cast<ssize_t>(message.size()));
    }

private:
    UniqueFd fd_;
};

class DriverConnectionTest : public ::testing::Test {
protected:
    void connect(Clock::Duration timeout = 5s)
    {
        int ends[2] = {-1, -1};
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
        connection = LinuxDriverConnection::create(UniqueFd(ends[0]), timeout);
        peer.emplace(ends[1]);
    }
    // Sets a notification port, answered with `status`; the driver's end where it was accepted.
    UniqueFd setPort(std::int32_t status = 0)
    {
        const PortName port = connection->createNotificationPort();
        auto result = std::async(
            std::launch::async, [this, port] { return connection->setNotificationPort(port); });
        Peer::Call call = peer->next();
        EXPECT_EQ(call.header.kind, PACKET_SET_PORT);
        EXPECT_TRUE(call.port);
        peer->reply(status);
        EXPECT_EQ(result.get(), static_cast<DriverStatus>(status));
        return std::move(call.port);
    }
    DriverStatus call(std::size_t room, std::string& output, std::string_view input = "in")
    {
        Bytes buffer(room);
        std::size_t size = 77;
        const auto status = connection->call(METHOD_FILTER_STATUS, bytes(input), buffer, size);
        output.assign(reinterpret_cast<const char*>(buffer.data()), std::min(size, room));
        return status;
    }
    std::string received()
    {
        Bytes message;
        return connection->receive(message)
            ? std::string(reinterpret_cast<const char*>(message.data()), message.size())
            : "(end)";
    }

    std::shared_ptr<LinuxDriverConnection> connection;
    std::optional<Peer> peer;
};

TEST_F(DriverConnectionTest, CallsCarryTheirBytesAndEveryStatusBothWays)
{
    connect();
    for (const auto& [status, output] : std::initializer_list<std::pair<int, std::string>>{
             {0, "full"}, {0, "few"}, {0, ""}, {-536870212, ""}, {5, "part"}}) {
        std::thread driver([&, s = status, o = output] {
            const auto asked = peer->next();
            EXPECT_EQ(asked.header.kind, PACKET_CALL);
            EXPECT_EQ(asked.header.selector, METHOD_FILTER_STATUS);
            EXPECT_EQ(asked.input, "in");
            EXPECT_FALSE(asked.port);
            peer->reply(s, o);
        });
        std::string got;
        EXPECT_EQ(call(4, got), static_cast<DriverStatus>(status));
        EXPECT_EQ(got, output);
        driver.join();
    }
}

// Each is an answer that must not be believed, after which the connection is over.
TEST_F(DriverConnectionTest, ALyingDriverEndsTheConnection)
{
    const std::pair<const char*, std::function<void(Peer&)>> lies[] = {
        {"empty reply", [](Peer& p) { p.raw(""); }},
        {"cut status", [](Peer& p) { p.raw("abc"); }},
        {"longer than the output", [](Peer& p) { p.reply(0, "12345"); }},
        {"huge reply", [](Peer& p) { p.reply(0, std::string(100'000, 'x')); }},
        {"vanishes within the call", [](Peer& p) { p.hangUp(); }},
        {"no reply", [](Peer&) {}},
    };
    for (const auto& [name, lie] : lies) {
        SCOPED_TRACE(name);
        connect(std::string_view(name) == "no reply" ? 20ms : 5000ms);
        std::thread driver([&, &act = lie] {
            static_cast<void>(peer->next());
            act(*peer);
        });
        std::string got;
        EXPECT_EQ(call(4, got), driverUnreachable);
        EXPECT_EQ(got, "");
        driver.join();
        // A late answer is nobody's: the next call does not take it for its own.
        EXPECT_EQ(call(4, got), driverUnreachable);
        EXPECT_EQ(received(), "(end)");
    }
}

TEST_F(DriverConnectionTest, AnUnaskedReplyIsNotTakenForTheNextCalls)
{
    connect();
    peer->reply(0, "fake");
    std::string got;
    EXPECT_EQ(call(4, got), driverUnreachable);
    EXPECT_EQ(got, "");
}

TEST_F(DriverConnectionTest, AnInputThatFitsNoPacketIsNotSentAndHarmsNothing)
{
    connect();
    std::string got;
    EXPECT_EQ(call(4, got, std::string(largestPacket - 7, 'x')), driverUnreachable);
    std::thread driver([&] {
        EXPECT_EQ(peer->next().input.size(), largestPacket - 8);
        peer->reply(0, "ok");
    });
    EXPECT_EQ(call(4, got, std::string(largestPacket - 8, 'x')), driverSuccess);
    driver.join();
}

// A driver that takes nothing out fills the socket: sending is bounded too.
TEST_F(DriverConnectionTest, AFullSocketEndsInTime)
{
    int ends[2] = {-1, -1};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    const std::string packet(8000, 'x');
    while (::send(ends[0], packet.data(), packet.size(), MSG_DONTWAIT) > 0) { }
    connection = LinuxDriverConnection::create(UniqueFd(ends[0]), 20ms);
    peer.emplace(ends[1]);
    std::string got;
    EXPECT_EQ(call(4, got), driverUnreachable);
}

TEST_F(DriverConnectionTest, AllThatTheDriverSaidIsHeardBeforeItsEnd)
{
    for (const bool portFirst : {true, false}) {
        connect();
        UniqueFd port = setPort();
        Peer::post(port.get(), "one");
        Peer::post(port.get(), ""); // no message at all
        Peer::post(port.get(), std::string(largestPacket + 1, 'x'));
        Peer::post(port.get(), std::string(largestPacket, 'y'));
        Peer::post(port.get(), "last");
        portFirst ? port.reset() : peer->hangUp();
        EXPECT_EQ(received(), "one");
        EXPECT_EQ(received(), std::string(largestPacket, 'y'));
        EXPECT_EQ(received(), "last");
        EXPECT_EQ(received(), "(end)");
    }
}

TEST_F(DriverConnectionTest, TheDriversEndIsTheDriversAlone)
{
    connect();
    const UniqueFd port = setPort();
    connection.reset();
    char byte = 0;
    EXPECT_EQ(::recv(port.get(), &byte, 1, 0), 0) << "somebody else still holds the port";
}

TEST_F(DriverConnectionTest, APortIsReplacedUnderAWaitingReceive)
{
    connect();
    UniqueFd first = setPort();
    auto message = std::async(std::launch::async, [this] { return received(); });
    // The driver drops the old end before it answers: that is not the connection's end.
    const PortName name = connection->createNotificationPort();
    auto result = std::async(
        std::launch::async, [this, name] { return connection->setNotificationPort(name); });
    Peer::Call call = peer->next();
    first.reset();
    Peer::post(call.port.get(), "on the new port");
    peer->reply(0);
    EXPECT_EQ(result.get(), driverSuccess);
    EXPECT_EQ(message.get(), "on the new port");
    // Refused, the old one stays.
    EXPECT_TRUE(setPort(13));
    Peer::post(call.port.get(), "still there");
    EXPECT_EQ(received(), "still there");
    EXPECT_EQ(connection->setNotificationPort(0), driverUnreachable);
    EXPECT_EQ(connection->setNotificationPort(99), driverUnreachable);
}

TEST_F(DriverConnectionTest, AReleasedPortMayEndWithoutTheConnection)
{
    connect();
    UniqueFd first = setPort();
    auto message = std::async(std::launch::async, [this] { return received(); });
    std::thread driver([&] {
        EXPECT_EQ(peer->next().header.selector, METHOD_RELEASE_PORT);
        first.reset();
        peer->reply(0);
    });
    std::size_t size = 0;
    EXPECT_EQ(connection->call(METHOD_RELEASE_PORT, {}, {}, size), driverSuccess);
    driver.join();
    const UniqueFd second = setPort();
    Peer::post(second.get(), "claimed back");
    EXPECT_EQ(message.get(), "claimed back");
}

TEST_F(DriverConnectionTest, ClosingWakesEverybody)
{
    connect();
    const UniqueFd port = setPort();
    auto message = std::async(std::launch::async, [this] { return received(); });
    auto status = std::async(std::launch::async, [this] {
        std::string got;
        return call(4, got);
    });
    static_cast<void>(peer->next());
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
    std::thread driver([this] {
        UniqueFd port;
        for (int i = 0; i < 4 * rounds; ++i) {
            Peer::Call asked = peer->next();
            if (asked.port)
                port = std::move(asked.port);
            if (port)
                static_cast<void>(::send(port.get(), "note", 4, MSG_NOSIGNAL | MSG_DONTWAIT));
            peer->reply(0, asked.input);
        }
        peer->hangUp();
    });
    std::vector<std::thread> callers;
    for (const char* name : {"aa", "bb", "cc"})
        callers.emplace_back([this, name] {
            for (int i = 0; i < rounds; ++i) {
                std::string got;
                EXPECT_EQ(call(2, got, name), driverSuccess);
                EXPECT_EQ(got, name);
            }
        });
    const PortName name = connection->createNotificationPort();
    callers.emplace_back([this, name] {
        for (int i = 0; i < rounds; ++i)
            EXPECT_EQ(connection->setNotificationPort(name), driverSuccess);
    });
    for (std::string heard = received(); heard != "(end)"; heard = received())
        EXPECT_EQ(heard, "note");
    for (auto& thread : callers)
        thread.join();
    driver.join();
}

TEST(DriverServiceTest, FindsAndOpensItsSocketHoweverLongThePath)
{
    const test::TemporaryDirectory folder;
    const std::string deep = folder / (std::string(120, 'd') + "/run");
    std::filesystem::create_directories(deep);
    const UniqueFd listener(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    // Bound where the path is short, then moved: a socket keeps listening.
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string near = folder / "s";
    near.copy(address.sun_path, sizeof address.sun_path - 1);

    LinuxDriverService nearby(near);
    EXPECT_EQ(nearby.match(), DriverService::Match::None);
    EXPECT_EQ(nearby.open(), nullptr);
    ASSERT_EQ(::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(nearby.match(), DriverService::Match::Found);
    EXPECT_EQ(nearby.open(), nullptr) << "nobody listens yet";
    ASSERT_EQ(::listen(listener.get(), 4), 0);
    EXPECT_NE(nearby.open(), nullptr);

    std::filesystem::rename(near, deep + "/VosselDriver.sock");
    LinuxDriverService faraway(deep + "/VosselDriver.sock");
    EXPECT_EQ(faraway.match(), DriverService::Match::Found);
    const auto connection = faraway.open();
    ASSERT_NE(connection, nullptr);

    LinuxDriverService folderItself(deep);
    EXPECT_EQ(folderItself.match(), DriverService::Match::Failed);
}

TEST(DriverServiceTest, RefusesADriverOfAnotherUser)
{
    if (::getuid() != 0)
        GTEST_SKIP() << "only root can hand a socket file to another user";
    const test::TemporaryDirectory folder;
    const UniqueFd listener(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = folder / "s";
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener.get(), 4), 0);
    ASSERT_EQ(::chown(path.c_str(), 65534, 65534), 0);
    EXPECT_EQ(LinuxDriverService(path).open(), nullptr);
    ASSERT_EQ(::chown(path.c_str(), 0, 0), 0);
    EXPECT_NE(LinuxDriverService(path).open(), nullptr);
}

}
}
