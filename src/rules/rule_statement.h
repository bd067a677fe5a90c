#pragma once

#include "rules/filter_option.h"
#include "rules/policy_rule.h"
#include "rules/watch_rule.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace vossel {

class TextPool;

// How a rules file is read, which depends on where it lies.
struct RulesKind {
    bool system = false; // the sixth field holds flags; it is a tag where users write
    bool setsOptions = false; // "set" is a statement of its own
};

// One line, cut into fields. Views into the line.
struct RuleFields {
    static constexpr std::size_t max = 8; // later ones are ignored

    std::array<std::string_view, max> at = {};
    std::size_t count = 0; // of all fields, also those beyond `max`
    bool quoteOpen = false;
};
[[nodiscard]] RuleFields cutFields(std::string_view line);

enum class StatementKind { None, Watch, Option, Policy };
inline constexpr std::size_t minRuleFields = 5;
inline constexpr std::size_t minOptionFields = 3;

[[nodiscard]] StatementKind classify(const RuleFields& fields, const RulesKind& kind);

// The process name and constraint of rules.
struct Application {
    RuleText processName;
    RuleText constraint;
};

// Each makes, in the arena, a rule of fields that were classified so. Its application's texts lie
// there already; tags are shared through the pool.
[[nodiscard]] WatchRule& watchRuleOf(const RuleFields& fields, const RulesKind& kind,
    const Application& application, TextPool& tags, Arena& arena);
[[nodiscard]] PolicyRule& policyRuleOf(const RuleFields& fields, const RulesKind& kind,
    const Application& application, TextPool& tags, Arena& arena);
// The lower 32 bits of the decimal number; a value beyond 64 signed bits is cut to that range.
[[nodiscard]] FilterOption filterOptionOf(const RuleFields& fields);

}
