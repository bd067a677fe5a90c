#pragma once

#include "driver/server/session_server.h"

#include <functional>
#include <optional>

namespace vossel {

// Which agent may be asked about a process, and in what order: the configured user's agent, root's,
// the process's own user's, nobody else's.
enum class AgentRank { None, SameUser, Root, ConfiguredUser };

[[nodiscard]] AgentRank agentRank(
    uid_t agentUser, uid_t processUser, std::optional<uid_t> configuredUser);

// The client with the highest rank among those that receive notifications; among equals the one
// that registered its port last. Null when all have the rank None.
[[nodiscard]] UserClient* chooseAgent(
    const SessionServer& server, const std::function<AgentRank(const UserClient&)>& rankOf);

}
