#pragma once

#include "rules/policy_rule.h"

#include <vector>

namespace vossel {

// For each of these rules the first other one of its application that covers it (covers), null
// where none does. Takes n log n steps, also for many constraints within one application.
[[nodiscard]] std::vector<const PolicyRule*> coveringRulesByApplication(
    const std::vector<const PolicyRule*>& rules);

}
