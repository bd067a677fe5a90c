#pragma once

#include "driver/server/event_loop.h"
#include "driver/server/session_handler.h"
#include "hosts/linux/packet.h"

#include <sys/stat.h>

#include <map>
#include <memory>
#include <string>

namespace vossel {

// The driver's socket: takes connections and carries out the method table. Owns the socket's file,
// the connections, their keys and ports; must not own a question or a decision, which are the
// handler's. Whatever an agent sends is answered; only a peer that does not read its answers is cut
// off. Confined to the loop's thread.
class SessionServer {
public:
    using Clients = std::map<std::uint64_t, std::unique_ptr<UserClient>>;

    static constexpr std::size_t maxConnections = 256;
    static constexpr std::size_t maxConnectionsPerUser = 16; // root's are not counted

    explicit SessionServer(EventLoop& loop)
        : loop_(loop)
    {
    }
    ~SessionServer();
    SessionServer(const SessionServer&) = delete;
    SessionServer& operator=(const SessionServer&) = delete;

    // Creates the folder and the socket, which any user may connect to. Fails when another driver
    // answers there. `handler` must outlive this.
    Result<bool> listen(const std::string& path, SessionHandler& handler);

    [[nodiscard]] const Clients& clients() const { return clients_; }
    // Null when that connection has ended.
    [[nodiscard]] UserClient* client(std::uint64_t number) const;

    // Sends a notification. After Full, portReady() follows; after Gone the client receives nothing
    // until it registers another port, and portGone() is not called.
    [[nodiscard]] Sent notify(UserClient& client, std::span<const std::byte> message);

private:
    void acceptOne();
    [[nodiscard]] bool hasRoomFor(uid_t uid) const;
    void serve(UserClient& client);
    [[nodiscard]] std::int32_t carryOut(
        UserClient& client, Packet& packet, std::vector<std::byte>& output);
    [[nodiscard]] std::int32_t callKeyed(
        UserClient& client, std::uint32_t selector, std::span<const std::uint8_t> key);
    [[nodiscard]] std::int32_t openSession(UserClient& client, std::vector<std::byte>& output);
    [[nodiscard]] std::int32_t registerPort(UserClient& client, UniqueFd port);
    [[nodiscard]] std::int32_t deliver(UserClient& client, std::span<const std::uint8_t> input);
    void portEvent(UserClient& client, std::uint32_t events);
    void closePort(UserClient& client);
    void disconnect(UserClient& client);

    EventLoop& loop_;
    SessionHandler* handler_ = nullptr;
    UniqueFd listener_;
    std::string path_;
    struct stat socketFile_ = {}; // to remove nobody else's
    Clients clients_;
    std::uint64_t lastNumber_ = 0;
    std::uint64_t lastPortOrder_ = 0;
};

// Tells every agent that filtering was switched off. An agent whose port is full learns it when it
// next asks for the status.
void notifyFilterStopped(SessionServer& server);

}
