// Any bytes as a driver message: dispatched, then read as a query by everything that reads one.

#include "agent/driver_link.h"
#include "foundation/log.h"
#include "hosts/simulated/simulated_host.h"
#include "prompting/alert_message.h"
#include "prompting/path_hierarchy.h"
#include "prompting/permissions_manager.h"
#include "prompting/process_menu.h"
#include "prompting/response_builder.h"
#include "prompting/signing_text.h"
#include "user/user_checks.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

using namespace vossel;

namespace {

// A machine without threads: every query is answered at once, as not shown.
struct Machine {
    Directories directories{"/nonexistent"};
    SimulatedHost host;
    UserChecks checks{host.accounts, directories};
    PermissionsManager broker{host.host, directories, checks};
    FilterStatus status;
    DriverLink link{host.host, directories, checks, status, broker};

    Machine() { host.threads.refuse(true); }
};

void require(bool condition)
{
    if (!condition)
        std::abort();
}

void readQuery(const Machine& machine, const policy_query& received)
{
    for (const bool flag : {false, true}) {
        const PathHierarchy paths = constructPathHierarchy(received, {"/Users/ann", flag, !flag});
        const auto count = static_cast<std::int64_t>(paths.choices.size());
        require(paths.recommendedPathIndex < count && paths.recommendedPathIndex >= -1);
        require((count == 0) == (paths.recommendedPathIndex == -1));

        policy_query query = received;
        const AlertMessage message
            = buildAlertMessage(query, {flag, "/Users/ann", machine.directories});
        require(!message.sentence.empty());

        PromptDecision decision;
        if (count > 0)
            decision.selectedPath
                = paths.choices[static_cast<std::size_t>(paths.recommendedPathIndex)];
        decision.processType = received.operation % 7;
        const auto response = buildResponse(query, decision);
        require(std::memchr(response.path, 0, sizeof response.path));
        require(std::memchr(response.user_data, 0, sizeof response.user_data));
    }
    const ProcessMenu menu
        = buildProcessMenu(received, machine.host.processes, machine.host.installers);
    require(menu.recommendedIndex > 0
        && menu.recommendedIndex < static_cast<std::int64_t>(menu.items.size()));
    (void)checkCodesign(received);
    (void)manicureAppPathForQuery(received);
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Machine machine;
    machine.link.notificationCallback(std::as_bytes(std::span(data, size)));
    policy_query query{};
    std::memcpy(&query, data, std::min(size, sizeof query));
    readQuery(machine, query);
    return 0;
}
