#pragma once

#include "foundation/text_hash.h"
#include "rules/policy_rule.h"

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace vossel {

// The policy rules of one application, in the order of adding. They lie in the store's arena.
struct RuleGroup {
    std::vector<PolicyRule*> rules;
    bool mayHoldSystemRules = false; // false: one need not look
    std::string identity;
    std::string folded; // the identity without case, by which groups are sorted
};

// Before the rule at this place is read, and others after it: asks for the rules that come soon,
// and for the path of one that is there by now. A million rules lie scattered in memory.
void expectAfter(const std::vector<const PolicyRule*>& rules, std::size_t place);

// Policy rules by application (applicationGroupIdentityForRule). Owns the groups; a group
// stays where it is until everything is cleared. One thread.
class RuleGroups {
public:
    // Created, empty, where there is none.
    RuleGroup& groupFor(std::string identity);
    // Null where there is none.
    [[nodiscard]] RuleGroup* find(std::string_view identity);
    // By folded identity; equal ones by identity.
    [[nodiscard]] const std::vector<RuleGroup*>& sorted() const;
    // All rules, group by group in that order.
    [[nodiscard]] std::vector<const PolicyRule*> rules() const;
    // False: none of them is a system rule, one need not look.
    [[nodiscard]] bool mayHoldSystemRules() const;
    void clear();

private:
    // An identity is looked for by view, and held once, in its group.
    std::unordered_map<std::string_view, std::unique_ptr<RuleGroup>, TextHash> groups_;
    mutable std::vector<RuleGroup*> sorted_; // all of them, or empty until asked for
};

}
