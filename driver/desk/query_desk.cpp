#include "driver/desk/query_desk.h"

#include "driver/server/call_status.h"
#include "hosts/linux/process_life.h"

#include <algorithm>

namespace vossel {

namespace {

constexpr int maxRepetitions = 3;
constexpr auto lookForTheDead = std::chrono::seconds(1);

// Questions with the same key get the same answer. Those of two processes never have the same: what
// is allowed once is allowed to the one process that the person was told of.
std::string keyOf(const Question& question, std::int32_t operation)
{
    const Program& program = question.access.program;
    std::string key = program.path;
    for (const std::uint64_t part : {std::uint64_t(operation), std::uint64_t(question.process),
             question.startTime, std::uint64_t(question.access.realUser), program.device,
             program.inode, std::uint64_t(program.native)})
        key += '\0' + std::to_string(part);
    return key + '\0' + question.access.path;
}

}

QueryDesk::QueryDesk(SessionServer& server, const Settings& settings)
    : server_(server)
    , settings_(settings)
    , places_(settings.maxWaiting)
{
}

UserClient* QueryDesk::agentFor(const Question& question) const
{
    return chooseAgent(server_, [&](const UserClient& client) {
        return agentRank(client.uid, question.access.realUser, settings_.configuredUser);
    });
}

bool QueryDesk::isAgentThread(std::int32_t thread) const
{
    const auto& clients = server_.clients();
    return std::any_of(clients.begin(), clients.end(), [&](const auto& entry) {
        const UserClient& client = *entry.second;
        return client.receives && mayControl(client) && isThreadOf(client.pid, thread);
    });
}

bool QueryDesk::isBusy(const UserClient& agent) const
{
    return byAgent_.count(agent.number) > 0;
}

void QueryDesk::ask(Question question, Waiter waiter, Clock::time_point now)
{
    const DecisionTable::Verdict verdict
        = filtering_ ? decisions_.judge(question.access) : DecisionTable::Verdict();
    if (verdict.deny || verdict.isAllow()) {
        waiter.answer(verdict.isAllow());
        return;
    }
    UserClient* agent = agentFor(question);
    if (!agent || agent->pid == question.process) {
        // An agent never waits for itself.
        waiter.answer(agent || settings_.allowByDefault);
        return;
    }
    const WaitingPlaces::Room room = places_.take(question.access.realUser);
    if (room != WaitingPlaces::Room::Free) {
        waiter.answer(room == WaitingPlaces::Room::Full && settings_.allowByDefault);
        return;
    }
    const std::int32_t operation = principalOperation(verdict.undecided);
    std::string key = keyOf(question, operation);
    if (const auto equal = byKey_.find(key); equal != byKey_.end()) {
        equal->second->waiters.push_back(std::move(waiter));
        return;
    }
    Query& query = queries_.emplace_back();
    query.key = std::move(key);
    query.question = std::move(question);
    query.operation = operation;
    query.waiters.push_back(std::move(waiter));
    byKey_[query.key] = std::prev(queries_.end());
    if (!isBusy(*agent))
        dispatch(now);
}

bool QueryDesk::isAnyIdle() const
{
    const auto& clients = server_.clients();
    return std::any_of(clients.begin(), clients.end(),
        [this](const auto& entry) { return entry.second->receives && !isBusy(*entry.second); });
}

// Sends every agent that has no query to answer the first of those that it may answer.
void QueryDesk::dispatch(Clock::time_point now)
{
    for (auto query = queries_.begin(); query != queries_.end();) {
        if (!agentsChanged_ && !isAnyIdle())
            return;
        const auto current = query++;
        if (current->agent != 0)
            continue;
        UserClient* agent = agentFor(current->question);
        if (!agent)
            finish(current, settings_.allowByDefault);
        else if (agent->pid == current->question.process)
            finish(current, true);
        else if (!isBusy(*agent)) {
            if (dropDead(*current)) {
                finish(current, settings_.allowByDefault);
                continue;
            }
            current->agent = agent->number;
            byAgent_[agent->number] = current;
            offer(*current, *agent, now);
            if (!agent->receives)
                query = queries_.begin(); // it vanished: everything may go to somebody else
        }
    }
    agentsChanged_ = false;
}

// Forgets those who died. True when nobody waits for this query any more.
bool QueryDesk::dropDead(Query& query)
{
    const auto dead = std::stable_partition(query.waiters.begin(), query.waiters.end(),
        [](const Waiter& waiter) { return waiter.isAlive(); });
    places_.leave(
        query.question.access.realUser, static_cast<std::size_t>(query.waiters.end() - dead));
    query.waiters.erase(dead, query.waiters.end());
    return query.waiters.empty();
}

void QueryDesk::offer(Query& query, UserClient& agent, Clock::time_point now)
{
    query.deadline = now + settings_.answerLimit;
    query.token = ++lastToken_;
    query.sent = false;
    send(query, agent);
}

void QueryDesk::send(Query& query, UserClient& agent)
{
    const policy_query_message message
        = makeQueryMessage(query.question, query.operation, query.token);
    const Sent sent = server_.notify(agent, std::as_bytes(std::span(&message, 1)));
    query.sent = sent == Sent::Yes;
    if (sent == Sent::Gone) {
        query.agent = 0;
        byAgent_.erase(agent.number);
        agentsChanged_ = true;
    }
}

void QueryDesk::finish(Queries::iterator query, bool allow)
{
    if (query->agent != 0)
        byAgent_.erase(query->agent);
    byKey_.erase(query->key);
    places_.leave(query->question.access.realUser, query->waiters.size());
    const Queries::iterator next = std::next(query);
    Queries finished;
    finished.splice(finished.begin(), queries_, query, next);
    for (const Waiter& waiter : finished.front().waiters)
        waiter.answer(allow);
}

void QueryDesk::finishAll(bool allow)
{
    while (!queries_.empty())
        finish(queries_.begin(), allow);
}

void QueryDesk::releaseAll()
{
    finishAll(settings_.allowByDefault);
}

std::int32_t QueryDesk::deliverResponse(
    UserClient& client, const user_prompt_response& response, bool keyMatches)
{
    if (!keyMatches)
        return CALL_BAD_KEY;
    const auto found = byAgent_.find(client.number);
    if (found == byAgent_.end() || !found->second->sent
        || found->second->token != response.security_token)
        return CALL_NO_QUERY;
    apply(found->second, client, response);
    dispatch(Clock::now());
    return CALL_DONE;
}

void QueryDesk::apply(
    Queries::iterator query, const UserClient& client, const user_prompt_response& response)
{
    switch (response.code) {
    case RESPONSE_DECIDED:
        remember(query->question, client, response);
        finish(query, response.decision == DECISION_ALLOW);
        judgeWaiting();
        break;
    case RESPONSE_NOT_ANSWERED:
        finish(query, false);
        break;
    case RESPONSE_REEVALUATE:
        if (++query->repetitions > maxRepetitions) {
            finish(query, settings_.allowByDefault);
        } else {
            byAgent_.erase(query->agent);
            query->agent = 0; // dispatch() asks again, with a new token
            judgeWaiting();
        }
        break;
    default: // not shown, or a code of a later agent
        finish(query, settings_.allowByDefault);
        break;
    }
}

void QueryDesk::remember(
    const Question& question, const UserClient& client, const user_prompt_response& response)
{
    std::optional<HeldDecision> decision = heldDecision(response, question.access, question.fileId);
    if (!decision)
        return;
    // An agent that is asked about nothing but its user's processes decides about nothing else.
    if (!mayControl(client))
        decision->onlyUser = client.uid;
    if (response.duration == DURATION_UNTIL_QUIT) {
        decision->holds = whileProcessLives(question.process, question.startTime);
        if (!decision->holds())
            return;
    }
    decisions_.add(std::move(*decision));
}

void QueryDesk::judgeWaiting()
{
    for (auto query = queries_.begin(); query != queries_.end();) {
        const auto current = query++;
        if (current->agent != 0)
            continue; // on the screen: that answer comes
        const DecisionTable::Verdict verdict = decisions_.judge(current->question.access);
        if (verdict.deny || verdict.isAllow())
            finish(current, verdict.isAllow());
    }
}

EventLoop::Milliseconds QueryDesk::tick(Clock::time_point now)
{
    if (queries_.empty())
        return EventLoop::Milliseconds(-1);
    if (now < nextLook_)
        return std::chrono::ceil<EventLoop::Milliseconds>(nextLook_ - now);
    nextLook_ = now + lookForTheDead;
    for (auto query = queries_.begin(); query != queries_.end();) {
        const auto current = query++;
        if (current->agent != 0 && current->deadline <= now)
            finish(current, settings_.allowByDefault);
        else if (dropDead(*current) && current->agent == 0)
            finish(current, settings_.allowByDefault);
    }
    dispatch(now);
    return lookForTheDead;
}

bool QueryDesk::mayControl(const UserClient& client) const
{
    return agentRank(client.uid, static_cast<uid_t>(-1), settings_.configuredUser)
        != AgentRank::None;
}

std::int32_t QueryDesk::startFilter()
{
    filtering_ = true;
    return CALL_DONE;
}

std::int32_t QueryDesk::stopFilter()
{
    filtering_ = false;
    finishAll(true);
    notifyFilterStopped(server_);
    return CALL_DONE;
}

void QueryDesk::portReady(UserClient& client)
{
    const auto found = byAgent_.find(client.number);
    if (found != byAgent_.end() && !found->second->sent)
        send(*found->second, client);
    dispatch(Clock::now());
}

void QueryDesk::portGone(UserClient& client)
{
    if (const auto found = byAgent_.find(client.number); found != byAgent_.end()) {
        found->second->agent = 0;
        byAgent_.erase(found);
    }
    agentsChanged_ = true;
    dispatch(Clock::now());
}

}
