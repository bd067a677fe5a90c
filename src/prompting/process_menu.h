#pragma once

#include "platform/processes.h"
#include "wire/driver_messages.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace vossel {

struct ProcessMenuItem {
    std::string title;
    std::int32_t tag = 0; // a ProcessScope; -1 for the title item

    bool operator==(const ProcessMenuItem&) const = default;
};

// The processes that a decision may cover. Item 0 is the pull-down's empty title and never chosen.
struct ProcessMenu {
    std::vector<ProcessMenuItem> items;
    std::int64_t recommendedIndex = 0;
    // Index of an ancestor's item to the ancestor's whole path.
    std::map<std::int64_t, std::string> ancestors;
    // An installation is running and one of the ancestors carries it out.
    bool isInstaller = false;
};

// At most ten ancestors; the first process and the kernel are never listed.
[[nodiscard]] ProcessMenu buildProcessMenu(
    const policy_query& query, const Processes& processes, const Installers& installers);

}
