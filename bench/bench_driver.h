#pragma once

#include "foundation/files.h"
#include "wire/driver_messages.h"

#include <chrono>
#include <string>
#include <vector>

namespace vossel::bench {

// The least that an agent takes for a driver: it answers every call with success and times what
// comes back for the queries it sends. One agent, one thread.
class BenchDriver {
public:
    // Listens below `prefix`.
    explicit BenchDriver(const std::string& prefix);

    // Waits for an agent's port. `filtering` is what it is told of the filter.
    void acceptAgent(bool filtering);
    // Sends one query and waits for its response; returns the time between.
    [[nodiscard]] std::chrono::nanoseconds exchange(const policy_query_message& message);
    // Sends one query and returns; serve() then answers what the agent asks.
    void send(const policy_query_message& message);
    // To be waited for beside other things; then serve() takes one call and tells of a response.
    [[nodiscard]] int descriptor() const { return agent_.get(); }
    bool serve() { return serveCall(); }
    // Sends `count` queries as fast as they are taken and returns how many responses came.
    [[nodiscard]] std::size_t flood(policy_query_message message, std::size_t count);

private:
    // Answers one call; true when it was a response.
    bool serveCall();

    UniqueFd listener_;
    UniqueFd agent_;
    UniqueFd port_;
    bool filtering_ = true;
};

// A read by this process, with its true parent.
[[nodiscard]] policy_query_message exampleQuery();

// The median of measurements; they come back sorted.
[[nodiscard]] std::chrono::nanoseconds median(std::vector<std::chrono::nanoseconds>& times);

}
