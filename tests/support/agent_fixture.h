#pragma once

#include "agent/driver_link.h"
#include "agent/filter_status.h"
#include "foundation/files.h"
#include "foundation/property_list.h"
#include "hosts/simulated/simulated_host.h"
#include "prompting/permissions_manager.h"
#include "settings/directories.h"
#include "support/fake_prompts.h"
#include "support/queries.h"
#include "support/temporary_directory.h"
#include "user/user_checks.h"

#include <filesystem>
#include <initializer_list>
#include <ostream>
#include <string>
#include <utility>

namespace vossel {

inline void PrintTo(QueryWait::Outcome outcome, std::ostream* to)
{
    static constexpr const char* names[]
        = {"Waiting", "Answered", "Reevaluated", "Cancelled", "TimedOut"};
    *to << names[static_cast<std::size_t>(outcome)];
}

}

namespace vossel::test {

// A simulated machine whose product files lie in a temporary folder, with the agent's broker on it.
struct AgentFixture {
    TemporaryDirectory directory;
    Directories directories{directory.path()};
    SimulatedHost host;
    UserChecks userChecks{host.accounts, directories};
    PermissionsManager broker{host.host, directories, userChecks};
    FakePromptFactory prompts;

    AgentFixture()
    {
        std::filesystem::create_directories(directories.sharedData());
        broker.setPromptFactory(&prompts);
    }

    void writePreferences(std::initializer_list<std::pair<const char*, std::int64_t>> values)
    {
        PropertyList list;
        for (const auto& [key, value] : values)
            list.set(key, PropertyList(value));
        (void)writeFile(
            directories.preferences(), *writePropertyList(list, PropertyListFormat::Xml));
    }
    // The user gets the advanced prompt (non-administrators get the simple one by themselves).
    void chooseAdvancedPrompts() { writePreferences({{"access.user.detail", 2}}); }
};

[[nodiscard]] inline policy_query makeQuery(
    std::string_view path, std::int32_t operation = OPERATION_READ, std::uint32_t token = 7)
{
    policy_query query = queryFor(path, operation, "/usr/bin/editor");
    query.pid = 4242;
    query.security_token = token;
    query.constraint_type = 5;
    query.reserved1 = CODE_SIGN_VALID;
    return query;
}

}
