#pragma once

#include "driver/server/call_status.h"
#include "driver/server/session_server.h"
#include "hosts/linux/packet_socket.h"
#include "settings/directories.h"
#include "support/temporary_directory.h"
#include "wire/driver_messages.h"

#include <poll.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace vossel::test {

// An agent that can send anything. `step` lets a driver in the same thread work while the agent
// waits; without it the driver is a process of its own.
class TestAgent {
public:
    using Bytes = std::vector<std::uint8_t>;

    explicit TestAgent(const std::string& path, std::function<void()> step = {})
        : step_(std::move(step))
    {
        if (auto connected = connectTo(path, std::chrono::seconds(20)))
            socket = *std::move(connected);
    }

    // Opens a session and registers a port.
    bool ready() { return openSession() == CALL_DONE && registerPort() == CALL_DONE; }
    std::int32_t openSession()
    {
        const std::int32_t opened = call(METHOD_OPEN_SESSION);
        key = output;
        return opened;
    }
    std::int32_t registerPort()
    {
        UniqueFd theirs;
        std::tie(port, theirs) = socketPair();
        return packet(PACKET_SET_PORT, 0, {}, {theirs.get()});
    }
    std::int32_t call(std::uint32_t selector, const Bytes& input = {})
    {
        return packet(PACKET_CALL, selector, input, {});
    }
    // Sends any packet, its header cut to `headerSize`; the status of the reply.
    std::int32_t packet(std::uint32_t kind, std::uint32_t selector, const Bytes& input,
        const std::vector<int>& descriptors, std::size_t headerSize = sizeof(CallHeader))
    {
        return send(kind, selector, input, descriptors, headerSize) ? status() : -1;
    }
    bool send(std::uint32_t kind, std::uint32_t selector, Bytes input,
        const std::vector<int>& descriptors, std::size_t headerSize = sizeof(CallHeader)) const
    {
        CallHeader header = {kind, selector};
        iovec parts[] = {{&header, headerSize}, {input.data(), input.size()}};
        const std::size_t size = descriptors.size() * sizeof(int);
        const cmsghdr rights = {CMSG_LEN(size), SOL_SOCKET, SCM_RIGHTS};
        std::vector<char> control(CMSG_SPACE(size));
        std::memcpy(control.data(), &rights, sizeof rights);
        if (size > 0)
            std::memcpy(control.data() + CMSG_LEN(0), descriptors.data(), size);
        const msghdr message
            = {nullptr, 0, parts, 2, control.data(), size > 0 ? control.size() : 0, 0};
        return ::sendmsg(socket.get(), &message, MSG_NOSIGNAL) >= 0;
    }
    // Of the next reply, or -1 when none comes; what follows it is in `output`.
    std::int32_t status()
    {
        output = receive(socket.get());
        std::int32_t status = -1;
        if (output.size() < sizeof status)
            return -1;
        std::memcpy(&status, output.data(), sizeof status);
        output.erase(output.begin(), output.begin() + sizeof status);
        return status;
    }

    // The next notification; empty when the driver closed the port or none comes.
    Bytes next() { return receive(port.get()); }
    // The next notification as a query; all zero where it is none.
    policy_query nextQuery()
    {
        policy_query_message message = {};
        if (const Bytes bytes = next(); bytes.size() == sizeof message)
            std::memcpy(&message, bytes.data(), sizeof message);
        return message.type == MSG_POLICY_QUERY ? message.policy_query_ : policy_query();
    }
    std::uint32_t nextToken() { return nextQuery().security_token; } // 0: there is no query
    // Whether a notification is there, without waiting for one.
    bool hasNext() { return comes(port.get(), 0); }
    std::int32_t respond(user_prompt_response response, std::uint32_t token)
    {
        response.security_token = token;
        std::memcpy(response.skey, key.data(), std::min(key.size(), sizeof response.skey));
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&response);
        return call(METHOD_DELIVER_RESPONSE, Bytes(bytes, bytes + sizeof response));
    }

    Bytes key;
    Bytes output; // of the last call
    UniqueFd socket;
    UniqueFd port;

private:
    bool comes(int fd, int milliseconds)
    {
        pollfd query = {fd, POLLIN, 0};
        for (int i = 0; i < 8 && step_ && ::poll(&query, 1, 0) == 0; ++i)
            step_();
        return ::poll(&query, 1, step_ ? 0 : milliseconds) > 0;
    }
    Bytes receive(int fd)
    {
        Bytes bytes(maxPacketSize);
        const ssize_t size
            = comes(fd, 20000) ? ::recv(fd, bytes.data(), bytes.size(), MSG_DONTWAIT) : 0;
        bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        return bytes;
    }

    std::function<void()> step_;
};

// An answer of a person: this file, this program, every operation.
inline user_prompt_response answer(Decision decision, std::string_view path,
    Duration duration = DURATION_ONCE, PathType type = PATH_EXACT)
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

// A driver's socket in a temporary layout, worked by hand: whoever waits lets it take one step.
class SteppingDriver {
public:
    // What is there now, without waiting.
    void step()
    {
        bool done = false;
        loop.run([&] {
            if (std::exchange(done, true))
                loop.quit(0);
            return EventLoop::Milliseconds(0);
        });
        if (afterStep)
            afterStep();
    }
    [[nodiscard]] TestAgent agent()
    {
        return TestAgent(path, [this] { step(); });
    }

    const TemporaryDirectory folder;
    const std::string path = Directories(folder.path()).driverSocket();
    EventLoop loop;
    SessionServer server{loop};
    std::function<void()> afterStep;
};

}
