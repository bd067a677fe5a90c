#pragma once

#include "rules/rule.h"
#include "rules/rule_vocabulary.h"

#include <vector>

namespace vossel {

// Has operations on a path reported; it allows and denies nothing.
class WatchRule final : public Rule {
public:
    // Type, path, process, operations and flags are the same.
    [[nodiscard]] bool isEqualToWatchRule(const WatchRule& other) const
    {
        return governsAsMuchAs(other) && hasPathOf(other);
    }

    [[nodiscard]] std::uint32_t getRuleState() const override
    {
        return system() ? RULE_STATE_SYSTEM : RULE_STATE_ORDINARY;
    }
    [[nodiscard]] std::int32_t getPolicyClass() const override { return POLICY_CLASS_WATCH; }
    [[nodiscard]] std::string getProcessShortName() const override { return {}; }
};

// They lie in an arena.
using WatchRules = std::vector<const WatchRule*>;

}
