#pragma once

#include "driver/desk/agent_policy.h"
#include "driver/desk/decision_table.h"
#include "driver/desk/question.h"
#include "driver/desk/waiting_places.h"

#include <chrono>
#include <list>
#include <string_view>
#include <unordered_map>

namespace vossel {

// Decides accesses: by the answers that hold, else by asking an agent, else by the default. Owns
// the answers, the queries and the order in which they are asked; must not own connections, which
// are the server's, nor know how programs are stopped, which is the guard's. An agent gets one
// query at a time, so that its time runs from when it could begin to answer; equal questions share
// one query. Confined to the loop's thread.
class QueryDesk final : public SessionHandler {
public:
    using Clock = std::chrono::steady_clock;

    struct Settings {
        bool allowByDefault = true; // where nobody can be asked, or nobody answered
        std::optional<uid_t> configuredUser;
        Clock::duration answerLimit = std::chrono::seconds(65); // the agent's own is 60
        std::size_t maxWaiting = 4096; // see WaitingPlaces; with all taken the default holds
    };

    QueryDesk(SessionServer& server, const Settings& settings);

    // Calls `waiter.answer`, now or later. `now` starts the limit where the query is sent at once.
    void ask(Question question, Waiter waiter, Clock::time_point now);
    // Gives the default to whatever is overdue, and forgets those who died. Says how long nothing
    // more is due; negative: for ever.
    EventLoop::Milliseconds tick(Clock::time_point now);
    // Gives the default to everybody who waits.
    void releaseAll();

    // Whether the thread belongs to an agent that is asked about others, and so must never wait.
    [[nodiscard]] bool isAgentThread(std::int32_t thread) const;
    [[nodiscard]] bool looksAtAncestors() const { return decisions_.looksAtAncestors(); }

    [[nodiscard]] bool mayControl(const UserClient& client) const override;
    std::int32_t startFilter() override;
    std::int32_t stopFilter() override;
    [[nodiscard]] bool isFiltering() const override { return filtering_; }
    std::int32_t deliverResponse(
        UserClient& client, const user_prompt_response& response, bool keyMatches) override;
    void portReady(UserClient& client) override;
    void portGone(UserClient& client) override;

private:
    struct Query {
        std::string key;
        Question question;
        std::int32_t operation = 0;
        std::vector<Waiter> waiters;
        std::uint64_t agent = 0; // whose turn it is, by connection number; 0: it still queues
        bool sent = false;
        std::uint32_t token = 0;
        Clock::time_point deadline; // while it has an agent
        int repetitions = 0;
    };
    using Queries = std::list<Query>;

    [[nodiscard]] UserClient* agentFor(const Question& question) const;
    [[nodiscard]] bool isBusy(const UserClient& agent) const;
    [[nodiscard]] bool isAnyIdle() const;
    void dispatch(Clock::time_point now);
    [[nodiscard]] bool dropDead(Query& query);
    void offer(Query& query, UserClient& agent, Clock::time_point now);
    void send(Query& query, UserClient& agent);
    void finish(Queries::iterator query, bool allow);
    void finishAll(bool allow);
    void apply(
        Queries::iterator query, const UserClient& client, const user_prompt_response& response);
    void remember(
        const Question& question, const UserClient& client, const user_prompt_response& response);
    void judgeWaiting();

    SessionServer& server_;
    Settings settings_;
    DecisionTable decisions_;
    Queries queries_; // in the order in which they are asked
    std::unordered_map<std::string, Queries::iterator> byKey_;
    std::unordered_map<std::uint64_t, Queries::iterator> byAgent_;
    WaitingPlaces places_;
    std::uint32_t lastToken_ = 0;
    bool agentsChanged_ = false; // since every query was last seen to have one
    Clock::time_point nextLook_ = Clock::time_point::min();
    bool filtering_ = true;
};

}
