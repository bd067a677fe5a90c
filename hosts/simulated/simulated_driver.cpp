#include "hosts/simulated/simulated_driver.h"

#include <algorithm>
#include <cstring>

namespace vossel {

void SimulatedDriver::State::tellChange()
{
    ++changes;
    changed.notifyAll();
}

class SimulatedDriver::Connection final : public DriverConnection {
public:
    explicit Connection(std::shared_ptr<State> state)
        : state_(std::move(state))
    {
    }

    [[nodiscard]] DriverStatus call(std::uint32_t selector, std::span<const std::byte> input,
        std::span<std::byte> output, std::size_t& outputSize) override
    {
        outputSize = 0;
        const Call made{selector, {input.begin(), input.end()}};
        Method method;
        {
            const MutexLock lock(state_->mutex);
            if (closed_)
                return driverUnreachable;
            state_->calls.push_back(made);
            state_->tellChange();
            const auto found = state_->methods.find(selector);
            method = found == state_->methods.end() ? Method() : found->second;
        }
        const Answer answer = method ? method(made) : ordinaryAnswer(selector);
        outputSize = std::min(output.size(), answer.output.size());
        std::copy_n(answer.output.begin(), outputSize, output.begin());
        return answer.status;
    }

    [[nodiscard]] PortName createNotificationPort() override
    {
        const MutexLock lock(state_->mutex);
        return state_->refusePort ? 0 : 1;
    }

    [[nodiscard]] DriverStatus setNotificationPort(PortName) override
    {
        const MutexLock lock(state_->mutex);
        if (closed_)
            return driverUnreachable;
        if (state_->registrationStatus == driverSuccess) {
            ++state_->registrations;
            state_->tellChange();
        }
        return state_->registrationStatus;
    }

    [[nodiscard]] bool receive(std::vector<std::byte>& message) override
    {
        MutexLock lock(state_->mutex);
        state_->changed.wait(lock, [this]() VOSSEL_REQUIRES(state_->mutex) {
            return closed_ || !state_->messages.empty();
        });
        if (state_->messages.empty())
            return false;
        message = std::move(state_->messages.front());
        state_->messages.pop_front();
        return true;
    }

    void close() override
    {
        const MutexLock lock(state_->mutex);
        closed_ = true;
        state_->tellChange();
    }

private:
    [[nodiscard]] Answer ordinaryAnswer(std::uint32_t selector)
    {
        if (selector != METHOD_OPEN_SESSION)
            return {};
        const MutexLock lock(state_->mutex);
        const auto number = static_cast<std::byte>(++state_->sessions);
        return {driverSuccess, std::vector<std::byte>(sessionKeySize, number)};
    }

    std::shared_ptr<State> state_;
    bool closed_ VOSSEL_GUARDED_BY(state_->mutex) = false;
};

DriverService::Match SimulatedDriver::match()
{
    const MutexLock lock(state_->mutex);
    return state_->match;
}

std::shared_ptr<DriverConnection> SimulatedDriver::open()
{
    const MutexLock lock(state_->mutex);
    if (state_->refuseOpen)
        return nullptr;
    const auto connection = std::make_shared<Connection>(state_);
    state_->current = connection;
    state_->messages.clear();
    ++state_->opened;
    state_->tellChange();
    return connection;
}

void SimulatedDriver::setMatch(Match match)
{
    const MutexLock lock(state_->mutex);
    state_->match = match;
}

void SimulatedDriver::refuseToOpen(bool refused)
{
    const MutexLock lock(state_->mutex);
    state_->refuseOpen = refused;
}

void SimulatedDriver::setMethod(std::uint32_t selector, Method method)
{
    const MutexLock lock(state_->mutex);
    state_->methods[selector] = std::move(method);
}

void SimulatedDriver::failMethod(std::uint32_t selector, DriverStatus status)
{
    setMethod(selector, [status](const Call&) { return Answer{status, {}}; });
}

void SimulatedDriver::refusePorts(bool refused)
{
    const MutexLock lock(state_->mutex);
    state_->refusePort = refused;
}

void SimulatedDriver::refuseRegistration(DriverStatus status)
{
    const MutexLock lock(state_->mutex);
    state_->registrationStatus = status;
}

void SimulatedDriver::send(std::vector<std::byte> message)
{
    const MutexLock lock(state_->mutex);
    state_->messages.push_back(std::move(message));
    state_->tellChange();
}

void SimulatedDriver::sendQuery(const policy_query& query)
{
    policy_query_message message{};
    message.type = MSG_POLICY_QUERY;
    message.policy_query_ = query;
    std::vector<std::byte> bytes(sizeof message);
    std::memcpy(bytes.data(), &message, sizeof message);
    send(std::move(bytes));
}

void SimulatedDriver::vanish()
{
    std::shared_ptr<Connection> connection;
    {
        const MutexLock lock(state_->mutex);
        connection = state_->current.lock();
    }
    if (connection)
        connection->close();
}

std::vector<SimulatedDriver::Call> SimulatedDriver::calls() const
{
    const MutexLock lock(state_->mutex);
    return state_->calls;
}

void SimulatedDriver::forgetCalls()
{
    const MutexLock lock(state_->mutex);
    state_->calls.clear();
}

std::size_t SimulatedDriver::callsOf(std::uint32_t selector) const
{
    const auto all = calls();
    return static_cast<std::size_t>(std::ranges::count(all, selector, &Call::selector));
}

std::size_t SimulatedDriver::opened() const
{
    const MutexLock lock(state_->mutex);
    return state_->opened;
}

std::size_t SimulatedDriver::registrations() const
{
    const MutexLock lock(state_->mutex);
    return state_->registrations;
}

std::vector<user_prompt_response> SimulatedDriver::responses() const
{
    std::vector<user_prompt_response> responses;
    for (const Call& call : calls()) {
        if (call.selector != METHOD_DELIVER_RESPONSE
            || call.input.size() != sizeof(user_prompt_response))
            continue;
        std::memcpy(&responses.emplace_back(), call.input.data(), call.input.size());
    }
    return responses;
}

bool SimulatedDriver::waitUntil(const std::function<bool()>& done) const
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done()) {
        MutexLock lock(state_->mutex);
        if (std::chrono::steady_clock::now() > end)
            return false;
        state_->changed.waitFor(lock, std::chrono::milliseconds(1),
            [this, before = state_->changes]()
                VOSSEL_REQUIRES(state_->mutex) { return state_->changes != before; });
    }
    return true;
}

}
