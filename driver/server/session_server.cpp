#include "driver/server/session_server.h"

#include "driver/server/call_status.h"
#include "hosts/linux/packet_socket.h"

#include <errno.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace vossel {

SessionServer::~SessionServer()
{
    struct stat now = {};
    if (!path_.empty() && ::lstat(path_.c_str(), &now) == 0 && now.st_ino == socketFile_.st_ino
        && now.st_dev == socketFile_.st_dev)
        ::unlink(path_.c_str());
    for (const auto& [number, client] : clients_) {
        closePort(*client);
        loop_.forget(client->connection.get());
    }
    loop_.forget(listener_.get());
}

Result<bool> SessionServer::listen(const std::string& path, SessionHandler& handler)
{
    Result<UniqueFd> listener = listenAt(path);
    if (!listener)
        return Failure{listener.reason()};
    handler_ = &handler;
    listener_ = std::move(*listener);
    path_ = path;
    if (::lstat(path.c_str(), &socketFile_) != 0
        || !loop_.watch(listener_.get(), EPOLLIN, [this](std::uint32_t) { acceptOne(); }))
        return Failure{"Cannot wait on " + path + ": " + errorText(errno)};
    return true;
}

UserClient* SessionServer::client(std::uint64_t number) const
{
    const auto found = clients_.find(number);
    return found == clients_.end() ? nullptr : found->second.get();
}

bool SessionServer::hasRoomFor(uid_t uid) const
{
    if (clients_.size() >= maxConnections)
        return false;
    const auto same = std::count_if(clients_.begin(), clients_.end(),
        [uid](const auto& entry) { return entry.second->uid == uid; });
    return uid == 0 || static_cast<std::size_t>(same) < maxConnectionsPerUser;
}

void SessionServer::acceptOne()
{
    UniqueFd connection = acceptConnection(listener_.get());
    const std::optional<ucred> peer = peerOf(connection.get());
    if (!peer || !hasRoomFor(peer->uid))
        return;
    auto client = std::make_unique<UserClient>();
    client->number = ++lastNumber_;
    client->pid = peer->pid;
    client->uid = peer->uid;
    client->connection = std::move(connection);
    UserClient& kept = *client;
    if (loop_.watch(kept.connection.get(), EPOLLIN, [this, &kept](std::uint32_t) { serve(kept); }))
        clients_[kept.number] = std::move(client);
}

// One packet a turn, so that no agent keeps the others waiting.
void SessionServer::serve(UserClient& client)
{
    Packet packet = receivePacket(client.connection.get());
    if (packet.state == Packet::State::Nothing)
        return;
    if (packet.state == Packet::State::End) {
        disconnect(client);
        return;
    }
    std::vector<std::byte> output;
    const ReplyHeader header = {carryOut(client, packet, output)};
    const auto status = std::as_bytes(std::span(&header, 1));
    if (sendPacket(client.connection.get(), {status, output}) != Sent::Yes)
        disconnect(client);
}

std::int32_t SessionServer::carryOut(
    UserClient& client, Packet& packet, std::vector<std::byte>& output)
{
    CallHeader header = {};
    if (packet.state == Packet::State::Malformed || packet.bytes.size() < sizeof header)
        return CALL_BAD_REQUEST;
    std::memcpy(&header, packet.bytes.data(), sizeof header);
    const std::span<const std::uint8_t> input(
        reinterpret_cast<const std::uint8_t*>(packet.bytes.data()) + sizeof header,
        packet.bytes.size() - sizeof header);

    if (header.kind == PACKET_SET_PORT) {
        if (header.selector != 0 || !input.empty() || packet.descriptors.size() != 1)
            return CALL_BAD_REQUEST;
        return registerPort(client, std::move(packet.descriptors.front()));
    }
    if (header.kind != PACKET_CALL || !packet.descriptors.empty())
        return CALL_BAD_REQUEST;
    switch (header.selector) {
    case METHOD_OPEN_SESSION:
        return input.empty() ? openSession(client, output) : CALL_BAD_REQUEST;
    case METHOD_START_FILTER:
        if (!input.empty())
            return CALL_BAD_REQUEST;
        return handler_->mayControl(client) ? handler_->startFilter() : CALL_NOT_PERMITTED;
    case METHOD_DELIVER_RESPONSE:
        return deliver(client, input);
    default:
        return callKeyed(client, header.selector, input);
    }
}

std::int32_t SessionServer::callKeyed(
    UserClient& client, std::uint32_t selector, std::span<const std::uint8_t> key)
{
    constexpr MethodSelector known[] = {METHOD_STOP_FILTER, METHOD_FILTER_STATUS,
        METHOD_RELOAD_RULES, METHOD_RELEASE_PORT, METHOD_RELOAD_QUIET};
    if (std::find(std::begin(known), std::end(known), selector) == std::end(known)
        || key.size() != sessionKeySize)
        return CALL_BAD_REQUEST;
    if (!client.key)
        return CALL_NO_SESSION;
    if (!client.key->matches(key))
        return CALL_BAD_KEY;
    switch (selector) {
    case METHOD_STOP_FILTER:
        return handler_->mayControl(client) ? handler_->stopFilter() : CALL_NOT_PERMITTED;
    case METHOD_FILTER_STATUS:
        return handler_->isFiltering() ? CALL_DONE : CALL_NOT_FILTERING;
    case METHOD_RELEASE_PORT:
        client.receives = false;
        handler_->portGone(client);
        return CALL_DONE;
    default: // this driver reads no rules files yet: there is nothing to reload
        return CALL_DONE;
    }
}

std::int32_t SessionServer::openSession(UserClient& client, std::vector<std::byte>& output)
{
    const std::optional<SessionKey> key = SessionKey::generate();
    if (!key)
        return CALL_FAILED;
    client.key = key;
    const auto bytes = std::as_bytes(key->bytes());
    output.assign(bytes.begin(), bytes.end());
    return CALL_DONE;
}

std::int32_t SessionServer::registerPort(UserClient& client, UniqueFd port)
{
    if (!client.key)
        return CALL_NO_SESSION;
    if (!isConnectedPacketSocket(port.get()))
        return CALL_BAD_PORT;
    const bool replaces = client.receives;
    closePort(client);
    client.port = std::move(port);
    if (!loop_.watch(client.port.get(), 0,
            [this, &client](std::uint32_t events) { portEvent(client, events); })) {
        client.port.reset();
        if (replaces)
            handler_->portGone(client);
        return CALL_FAILED;
    }
    client.receives = true;
    client.portOrder = ++lastPortOrder_;
    if (replaces) // the new one is there already: what the old one took is sent again
        handler_->portGone(client);
    handler_->portReady(client);
    return CALL_DONE;
}

std::int32_t SessionServer::deliver(UserClient& client, std::span<const std::uint8_t> input)
{
    user_prompt_response response;
    if (input.size() != sizeof response)
        return CALL_BAD_REQUEST;
    if (!client.key)
        return CALL_NO_SESSION;
    std::memcpy(&response, input.data(), sizeof response);
    return handler_->deliverResponse(client, response, client.key->matches(response.skey));
}

Sent SessionServer::notify(UserClient& client, std::span<const std::byte> message)
{
    if (!client.receives)
        return Sent::Gone;
    const Sent sent = sendPacket(client.port.get(), {message});
    if (sent == Sent::Full)
        loop_.change(client.port.get(), EPOLLOUT);
    if (sent == Sent::Gone)
        closePort(client);
    return sent;
}

void SessionServer::portEvent(UserClient& client, std::uint32_t events)
{
    if ((events & (EPOLLHUP | EPOLLERR)) != 0) {
        closePort(client);
        handler_->portGone(client);
    } else {
        loop_.change(client.port.get(), 0);
        handler_->portReady(client);
    }
}

void SessionServer::closePort(UserClient& client)
{
    if (client.port)
        loop_.forget(client.port.get());
    client.port.reset();
    client.receives = false;
}

void SessionServer::disconnect(UserClient& client)
{
    const auto found = clients_.find(client.number);
    const std::unique_ptr<UserClient> ended = std::move(found->second);
    clients_.erase(found);
    closePort(*ended);
    loop_.forget(ended->connection.get());
    handler_->portGone(*ended);
}

void notifyFilterStopped(SessionServer& server)
{
    const std::uint32_t type = MSG_FILTER_STOPPED;
    std::byte message[messagePayloadOffset] = {};
    std::memcpy(message + messageTypeOffset, &type, sizeof type);
    for (const auto& [number, client] : server.clients())
        static_cast<void>(server.notify(*client, message));
}

}
