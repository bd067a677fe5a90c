#pragma once

#include "driver/call_status.h"
#include "foundation/files.h"
#include "wire/driver_messages.h"
#include "wire/driver_transport.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vossel::test {

// An agent made of the transport's description alone. `step` lets a driver in the same thread work
// while the agent waits; without it the driver is a process of its own.
class TestAgent {
public:
    using Bytes = std::vector<std::uint8_t>;

    explicit TestAgent(const std::string& path, std::function<void()> step = {})
        : step_(std::move(step))
        , call_(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        if (::connect(call_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address)
            != 0)
            call_.reset();
    }

    [[nodiscard]] bool isConnected() const { return static_cast<bool>(call_); }
    // Opens a session and registers a port.
    bool ready() { return openSession() == CALL_DONE && registerPort() == CALL_DONE; }

    std::int32_t openSession()
    {
        const std::int32_t status = call(METHOD_OPEN_SESSION);
        if (status == CALL_DONE)
            key = output;
        return status;
    }
    std::int32_t registerPort()
    {
        int ends[2];
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
            return -1;
        port.reset(ends[0]);
        const UniqueFd theirs(ends[1]);
        return packet(PACKET_SET_PORT, 0, {}, {theirs.get()});
    }
    std::int32_t call(std::uint32_t selector, const Bytes& input = {})
    {
        return packet(PACKET_CALL, selector, input, {});
    }
    std::int32_t packet(std::uint32_t kind, std::uint32_t selector, const Bytes& input,
        const std::vector<int>& descriptors)
    {
        Bytes bytes(sizeof(CallHeader));
        const CallHeader header = {kind, selector};
        std::memcpy(bytes.data(), &header, sizeof header);
        bytes.insert(bytes.end(), input.begin(), input.end());
        return exchange(bytes, descriptors);
    }
    // Any packet; the status, or -1 when none came.
    std::int32_t exchange(const Bytes& bytes, const std::vector<int>& descriptors = {})
    {
        iovec part = {const_cast<std::uint8_t*>(bytes.data()), bytes.size()};
        std::vector<char> control(CMSG_SPACE(descriptors.size() * sizeof(int)));
        msghdr message = {};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        if (!descriptors.empty()) {
            message.msg_control = control.data();
            message.msg_controllen = control.size();
            cmsghdr* rights = CMSG_FIRSTHDR(&message);
            rights->cmsg_level = SOL_SOCKET;
            rights->cmsg_type = SCM_RIGHTS;
            rights->cmsg_len = CMSG_LEN(descriptors.size() * sizeof(int));
            std::memcpy(CMSG_DATA(rights), descriptors.data(), descriptors.size() * sizeof(int));
        }
        if (::sendmsg(call_.get(), &message, MSG_NOSIGNAL) < 0)
            return -1;
        const std::optional<Bytes> reply = receive(call_.get());
        std::int32_t status = -1;
        if (!reply || reply->size() < sizeof status)
            return -1;
        std::memcpy(&status, reply->data(), sizeof status);
        output.assign(reply->begin() + sizeof status, reply->end());
        return status;
    }

    // The next notification whole; nothing when the driver closed the port or none comes.
    std::optional<Bytes> next() { return receive(port.get()); }
    std::optional<policy_query> nextQuery()
    {
        const std::optional<Bytes> bytes = next();
        policy_query_message message;
        if (!bytes || bytes->size() != sizeof message)
            return std::nullopt;
        std::memcpy(&message, bytes->data(), sizeof message);
        return message.type == MSG_POLICY_QUERY ? std::optional(message.policy_query_)
                                                : std::nullopt;
    }
    // Whether a notification is there, without waiting for one.
    bool hasNext()
    {
        for (int i = 0; i < 4 && step_; ++i)
            step_();
        return waitFor(port.get(), 0);
    }
    std::int32_t respond(user_prompt_response response, std::uint32_t token)
    {
        response.security_token = token;
        std::memcpy(response.skey, key.data(), std::min(key.size(), sizeof response.skey));
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&response);
        return call(METHOD_DELIVER_RESPONSE, Bytes(bytes, bytes + sizeof response));
    }
    void disconnect()
    {
        call_.reset();
        port.reset();
    }

    Bytes key;
    Bytes output; // of the last call
    UniqueFd port;

private:
    static bool waitFor(int fd, int milliseconds)
    {
        pollfd query = {fd, POLLIN, 0};
        return ::poll(&query, 1, milliseconds) > 0;
    }
    std::optional<Bytes> receive(int fd)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!waitFor(fd, step_ ? 0 : 20000)) {
            if (!step_ || std::chrono::steady_clock::now() > end)
                return std::nullopt;
            step_();
        }
        Bytes bytes(largestPacket);
        const ssize_t size = ::recv(fd, bytes.data(), bytes.size(), 0);
        if (size <= 0)
            return std::nullopt;
        bytes.resize(static_cast<std::size_t>(size));
        return bytes;
    }

    std::function<void()> step_;
    UniqueFd call_;
};

// An answer of a person: this file, this program, every operation.
inline user_prompt_response answer(
    Decision decision, Duration duration, std::string_view path, PathType type = PATH_EXACT)
{
    user_prompt_response response = {};
    response.decision = decision;
    response.duration = duration;
    response.pathType = type;
    response.process = PROCESS_PROGRAM;
    response.constraint_type = CONSTRAINT_UPDATES_COVERED;
    response.operations = OPERATION_READ | OPERATION_WRITE | OPERATION_CREATE | OPERATION_EXECUTE;
    storeText(response.path, path);
    return response;
}

}
