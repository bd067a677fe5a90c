#pragma once

#include "rules/policy_rule.h"
#include "rules/watch_rule.h"

#include <cstdint>
#include <string_view>

// Hashes by which equal rules are found: rules that are equal (isEqualToPolicyRule,
// isEqualToWatchRule) have the same one.

namespace vossel {

// Of process name and constraint; a watch rule's constraint is empty.
[[nodiscard]] std::uint64_t applicationHash(
    std::string_view processName, std::string_view constraint);

// Of a rule whose application's hash is known.
[[nodiscard]] std::uint64_t ruleHash(const Rule& rule, std::uint64_t applicationHash);

[[nodiscard]] std::uint64_t ruleHash(const PolicyRule& rule);
[[nodiscard]] std::uint64_t ruleHash(const WatchRule& rule);

}
