#pragma once

#include "driver/replay/response_json.h"
#include "driver/server/session_server.h"

#include <chrono>
#include <deque>
#include <functional>
#include <ostream>
#include <string>
#include <unordered_map>
#include <vector>

namespace vossel {

// Sends recorded messages to whichever agent registers a port first, and prints what it answers.
// Owns the messages and when each was sent; must not own a decision, so that any user may be the
// agent. Confined to the loop's thread.
class Replay final : public SessionHandler {
public:
    using Clock = std::chrono::steady_clock;

    struct Settings {
        bool allAtOnce = false; // else each after the answer to the one before
        bool filtering = true;
        Clock::duration answerLimit = std::chrono::seconds(65); // without any progress
        Clock::duration agentLimit = std::chrono::seconds(30);
    };
    // The program's exit status and, unless it is 0, the sentence why.
    using Ended = std::function<void(int status, const std::string& reason)>;

    // Reads a file of whole messages, one behind the other and at least one; fails for any other.
    static Result<std::string> load(const std::string& path);

    // `messages` as load() gives them; `ended` is called once.
    Replay(SessionServer& server, std::string messages, const Settings& settings, std::ostream& out,
        Ended ended);

    // Sends what is due, and says how long nothing more is.
    EventLoop::Milliseconds tick(Clock::time_point now);

    [[nodiscard]] bool mayControl(const UserClient&) const override { return true; }
    std::int32_t startFilter() override;
    std::int32_t stopFilter() override;
    [[nodiscard]] bool isFiltering() const override { return settings_.filtering; }
    std::int32_t deliverResponse(
        UserClient& client, const user_prompt_response& response, bool keyMatches) override;
    void portReady(UserClient& client) override;
    void portGone(UserClient& client) override;

private:
    void sendDue(Clock::time_point now);
    [[nodiscard]] std::uint32_t tokenOf(std::size_t index) const;
    void end(int status, const std::string& reason);

    SessionServer& server_;
    const std::string messages_;
    Settings settings_;
    std::ostream& out_;
    Ended ended_;
    std::uint64_t agent_ = 0; // connection number; 0 until one has come
    bool full_ = false; // its port; portReady() follows
    std::size_t next_ = 0; // the first message not sent yet
    std::size_t answered_ = 0;
    std::unordered_map<std::uint32_t, std::deque<std::size_t>> unanswered_; // by token, in order
    std::vector<Clock::time_point> sentAt_;
    Clock::time_point deadline_; // for the agent to come, then for the next answer
};

}
