#include "driver/desk/agent_policy.h"

#include <tuple>

namespace vossel {

AgentRank agentRank(uid_t agentUser, uid_t processUser, std::optional<uid_t> configuredUser)
{
    if (configuredUser && agentUser == *configuredUser)
        return AgentRank::ConfiguredUser;
    if (agentUser == 0)
        return AgentRank::Root;
    return agentUser == processUser ? AgentRank::SameUser : AgentRank::None;
}

UserClient* chooseAgent(
    const SessionServer& server, const std::function<AgentRank(const UserClient&)>& rankOf)
{
    UserClient* best = nullptr;
    std::tuple<AgentRank, std::uint64_t> bestMerit = {AgentRank::None, 0};
    for (const auto& [number, client] : server.clients()) {
        if (!client->receives)
            continue;
        const std::tuple merit(rankOf(*client), client->portOrder);
        if (std::get<0>(merit) != AgentRank::None && merit > bestMerit) {
            best = client.get();
            bestMerit = merit;
        }
    }
    return best;
}

}
