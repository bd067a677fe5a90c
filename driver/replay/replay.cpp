#include "driver/replay/replay.h"

#include "driver/server/call_status.h"

#include <cstring>
#include <utility>

namespace vossel {

namespace {

constexpr std::size_t messageSize = sizeof(policy_query_message);
constexpr std::size_t maxFileSize = std::size_t(1) << 30;

}

Result<std::string> Replay::load(const std::string& path)
{
    Result<std::string> content = readFile(path, maxFileSize);
    if (content && (content->empty() || content->size() % messageSize != 0))
        return Failure{"Cannot replay " + path + ": its " + std::to_string(content->size())
            + " bytes are no whole number of messages of " + std::to_string(messageSize)};
    return content;
}

Replay::Replay(SessionServer& server, std::string messages, const Settings& settings,
    std::ostream& out, Ended ended)
    : server_(server)
    , messages_(std::move(messages))
    , settings_(settings)
    , out_(out)
    , ended_(std::move(ended))
    , sentAt_(messages_.size() / messageSize)
    , deadline_(Clock::now() + settings_.agentLimit)
{
}

std::uint32_t Replay::tokenOf(std::size_t index) const
{
    std::uint32_t token = 0;
    std::memcpy(&token,
        messages_.data() + index * messageSize + messagePayloadOffset
            + offsetof(policy_query, security_token),
        sizeof token);
    return token;
}

void Replay::end(int status, const std::string& reason)
{
    if (ended_)
        std::exchange(ended_, nullptr)(status, reason);
}

EventLoop::Milliseconds Replay::tick(Clock::time_point now)
{
    sendDue(now);
    if (now >= deadline_) {
        if (agent_ == 0)
            end(2, "No agent came");
        else
            end(1,
                std::to_string(sentAt_.size() - answered_) + " of " + std::to_string(sentAt_.size())
                    + " messages were not answered in time");
    }
    return std::chrono::ceil<EventLoop::Milliseconds>(deadline_ - now);
}

void Replay::sendDue(Clock::time_point now)
{
    UserClient* agent = server_.client(agent_);
    while (agent && agent->receives && !full_ && next_ < sentAt_.size()
        && (settings_.allAtOnce || answered_ == next_)) {
        const std::string_view message
            = std::string_view(messages_).substr(next_ * messageSize, messageSize);
        const Sent sent = server_.notify(*agent, std::as_bytes(std::span(message)));
        full_ = sent == Sent::Full;
        if (sent == Sent::Gone)
            end(1, "The agent went away");
        if (sent != Sent::Yes)
            return;
        unanswered_[tokenOf(next_)].push_back(next_);
        sentAt_[next_] = now;
        if (answered_ == next_)
            deadline_ = now + settings_.answerLimit;
        ++next_;
    }
}

std::int32_t Replay::deliverResponse(
    UserClient& client, const user_prompt_response& response, bool keyMatches)
{
    if (client.number != agent_)
        return CALL_NO_QUERY; // it was sent none, whatever it says
    const Clock::time_point now = Clock::now();
    ReplayedAnswer answer;
    answer.response = response;
    answer.keyMatches = keyMatches;
    const auto found = unanswered_.find(response.security_token);
    if (found != unanswered_.end()) {
        const std::size_t index = found->second.front();
        answer.index = static_cast<int>(index);
        answer.milliseconds
            = std::chrono::duration<double, std::milli>(now - sentAt_[index]).count();
    }
    out_ << describe(answer) << std::endl; // at once, for who reads along
    if (!keyMatches)
        return CALL_BAD_KEY;
    if (found == unanswered_.end())
        return CALL_NO_QUERY;
    found->second.pop_front();
    if (found->second.empty())
        unanswered_.erase(found);
    deadline_ = now + settings_.answerLimit;
    if (++answered_ == sentAt_.size())
        end(0, {});
    return CALL_DONE;
}

std::int32_t Replay::startFilter()
{
    settings_.filtering = true;
    return CALL_DONE;
}

std::int32_t Replay::stopFilter()
{
    settings_.filtering = false;
    notifyFilterStopped(server_);
    return CALL_DONE;
}

void Replay::portReady(UserClient& client)
{
    if (agent_ == 0)
        agent_ = client.number;
    if (client.number == agent_)
        full_ = false;
}

void Replay::portGone(UserClient& client)
{
    // A port that is only released, or has a successor, is still there.
    if (client.number == agent_ && (!client.port || !server_.client(client.number)))
        end(1, "The agent went away");
}

}
