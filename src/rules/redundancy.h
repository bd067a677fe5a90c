#pragma once

#include "rules/policy_rule.h"

#include <cstdint>
#include <vector>

namespace vossel {

// Whether each of the lowest eight bits that is set in `of` is set in `a`.
[[nodiscard]] bool isBitwiseInclusive(std::uint32_t a, std::uint32_t of);

// Whether the one rule makes the other, of the same application, superfluous: same class and
// constraint, at least its operations, and every path or, as a prefix, the other's path. Type,
// flags and tag of the other do not matter.
[[nodiscard]] bool covers(const PolicyRule& rule, const PolicyRule& other);

// For each of these rules the first other one of its application that covers it; null where none
// does. Takes n log n steps where paths do not lie very deep in one another.
[[nodiscard]] std::vector<const PolicyRule*> coveringRules(
    const std::vector<const PolicyRule*>& rules);

}
