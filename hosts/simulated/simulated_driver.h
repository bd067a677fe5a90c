#pragma once

#include "foundation/mutex.h"
#include "hosts/simulated/guarded.h"
#include "platform/driver_service.h"
#include "wire/driver_messages.h"

#include <deque>
#include <functional>
#include <map>
#include <memory>
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
        Mutex mutex;
        Condition changed;
        std::size_t changes VOSSEL_GUARDED_BY(mutex) = 0;
        Match match VOSSEL_GUARDED_BY(mutex) = Match::Found;
        bool refuseOpen VOSSEL_GUARDED_BY(mutex) = false;
        bool refusePort VOSSEL_GUARDED_BY(mutex) = false;
        DriverStatus registrationStatus VOSSEL_GUARDED_BY(mutex) = driverSuccess;
        std::map<std::uint32_t, Method> methods VOSSEL_GUARDED_BY(mutex);
        std::vector<Call> calls VOSSEL_GUARDED_BY(mutex);
        std::size_t opened VOSSEL_GUARDED_BY(mutex) = 0;
        std::size_t sessions VOSSEL_GUARDED_BY(mutex) = 0;
        std::size_t registrations VOSSEL_GUARDED_BY(mutex) = 0;
        std::weak_ptr<Connection> current VOSSEL_GUARDED_BY(mutex);
        std::deque<std::vector<std::byte>> messages VOSSEL_GUARDED_BY(mutex);

        void tellChange() VOSSEL_REQUIRES(mutex);
    };

    std::shared_ptr<State> state_ = std::make_shared<State>();
};

}
