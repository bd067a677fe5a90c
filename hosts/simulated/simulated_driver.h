#pragma once

#include "hosts/simulated/guarded.h"
#include "platform/driver_service.h"
#include "wire/driver_messages.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vossel {

// A driver in memory that does as it is told. It can be scripted from any thread.
class SimulatedDriver final : public DriverService {
public:
    struct Call {
        std::uint32_t selector;
        std::vector<std::byte> input;
    };
    struct Answer {
        DriverStatus status = driverSuccess;
        std::vector<std::byte> output;
    };
    // What a method answers; without one for its selector the method succeeds, and OPEN_SESSION
    // issues a key whose bytes all hold the number of the session.
    using Method = std::function<Answer(const Call&)>;

    [[nodiscard]] Match match() override;
    [[nodiscard]] std::shared_ptr<DriverConnection> open() override;

    void setMatch(Match match);
    void refuseToOpen(bool refused);
    void setMethod(std::uint32_t selector, Method method);
    void failMethod(std::uint32_t selector, DriverStatus status);
    void refusePorts(bool refused); // no port can be made
    void refuseRegistration(DriverStatus status); // 0 accepts

    // Puts a message on the port, if one is registered.
    void send(std::vector<std::byte> message);
    void sendQuery(const policy_query& query);
    // Ends the present connection from the driver's side.
    void vanish();

    // All calls so far or since they were forgotten, in order, registrations excluded.
    [[nodiscard]] std::vector<Call> calls() const;
    void forgetCalls();
    [[nodiscard]] std::size_t callsOf(std::uint32_t selector) const;
    [[nodiscard]] std::size_t opened() const;
    [[nodiscard]] std::size_t registrations() const;
    [[nodiscard]] std::vector<user_prompt_response> responses() const;
    // Returns when `done` holds, asked at each change; false after 10 real seconds.
    [[nodiscard]] bool waitUntil(const std::function<bool()>& done) const;

private:
    class Connection;
    struct State {
        mutable std::mutex mutex;
        mutable std::condition_variable changed;
        // Guarded by mutex.
        Match match = Match::Found;
        bool refuseOpen = false;
        bool refusePort = false;
        DriverStatus registrationStatus = driverSuccess;
        std::map<std::uint32_t, Method> methods;
        std::vector<Call> calls;
        std::size_t opened = 0;
        std::size_t sessions = 0;
        std::size_t registrations = 0;
        std::weak_ptr<Connection> current;
        std::deque<std::vector<std::byte>> messages;
    };

    std::shared_ptr<State> state_ = std::make_shared<State>();
};

}
