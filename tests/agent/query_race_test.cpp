#include "agent/driver_link.h"
#include "support/agent_fixture.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <barrier>
#include <cstring>
#include <thread>

namespace vossel::test {
namespace {

using namespace std::chrono_literals;

// One thread for the queries: starting a hundred thousand would only slow the race down. Nobody
// follows the filter's status here.
class OneWorker final : public ThreadLauncher {
public:
    bool launch(std::string_view name, std::function<void()> entry) override
    {
        if (name == "status poller")
            return true;
        work_.set(std::move(entry));
        waiting_ = true;
        waiting_.notify_one();
        return true;
    }
    void run()
    {
        for (;;) {
            waiting_.wait(false);
            waiting_ = false;
            const auto entry = work_.get();
            if (!entry)
                return;
            entry();
        }
    }

private:
    Guarded<std::function<void()>> work_;
    std::atomic<bool> waiting_ = false;
};

// Decision, cancellation, re-evaluation and the end of the minute race for each query. Whoever
// wins, the thread that waits sends exactly one response, and it is the winner's.
TEST(QueryRace, HasOneWinnerAndOneResponseForEachQuery)
{
    constexpr std::uint32_t rounds = 100'000;
    AgentFixture agent;
    agent.chooseAdvancedPrompts();
    SimulatedHost& machine = agent.host;
    OneWorker worker;
    FilterStatus status;
    DriverLink link{
        machine.hostWith(worker), agent.directories, agent.userChecks, status, agent.broker};

    std::array<std::atomic<std::uint32_t>, 4> codes{};
    std::atomic<std::uint32_t> delivered = 0;
    std::atomic<bool> wrong = false;
    machine.driver.setMethod(METHOD_DELIVER_RESPONSE, [&](const SimulatedDriver::Call& call) {
        user_prompt_response response;
        std::memcpy(&response, call.input.data(), sizeof response);
        const bool users = textOf(response.path) == "/chosen";
        wrong = wrong || response.security_token != delivered + 1
            || users != (response.code == RESPONSE_DECIDED);
        ++codes[static_cast<std::size_t>(response.code) % codes.size()];
        ++delivered;
        return SimulatedDriver::Answer{};
    });

    std::jthread loop([&] { (void)link.startDriverComms(); });
    ASSERT_TRUE(machine.driver.waitUntil([&] { return link.isConnected(); }));
    std::jthread working([&] { worker.run(); });

    std::barrier start(4);
    std::atomic<std::uint32_t> reevaluated = 0;
    const auto racer = [&](auto act) {
        return std::jthread([&start, act] {
            for (std::uint32_t i = 0; i < rounds; ++i) {
                start.arrive_and_wait();
                act();
                start.arrive_and_wait();
            }
        });
    };
    std::jthread canceller = racer([&] { agent.broker.cancelQuery(); });
    std::jthread importer = racer([&] { reevaluated += agent.broker.reevaluateQuery() ? 1 : 0; });
    std::jthread time = racer([&] { machine.clock.advance(60s); });

    policy_query_message message{};
    message.type = MSG_POLICY_QUERY;
    message.policy_query_ = makeQuery("/raced");
    for (std::uint32_t token = 1; token <= rounds; ++token) {
        message.policy_query_.security_token = token;
        link.notificationCallback(std::as_bytes(std::span(&message, 1)));
        while (agent.prompts.advanced.empty()) {
            machine.mainThread.runPending();
            std::this_thread::yield();
        }
        const auto prompt = agent.prompts.advanced.back();
        start.arrive_and_wait();
        prompt->performClickAllow();
        start.arrive_and_wait();
        while (delivered < token) {
            machine.mainThread.runPending();
            std::this_thread::yield();
        }
        machine.mainThread.runPending();
        agent.prompts.advanced.clear();
        machine.driver.forgetCalls();
    }
    EXPECT_EQ(delivered, rounds);
    EXPECT_FALSE(wrong);
    EXPECT_EQ(codes[RESPONSE_REEVALUATE], reevaluated);
    EXPECT_EQ(codes[RESPONSE_DECIDED] + codes[RESPONSE_NOT_ANSWERED] + reevaluated, rounds);

    machine.driver.vanish();
    (void)worker.launch("end", {});
}

}
}
