#include "rules/redundant_rules.h"

#include "foundation/text_hash.h"
#include "rules/application_identity.h"
#include "rules/redundancy.h"

#include <cstddef>
#include <string>
#include <unordered_map>

namespace vossel {

std::vector<const PolicyRule*> coveringRulesByApplication(
    const std::vector<const PolicyRule*>& rules)
{
    // A rule covers none of another constraint, and not every identity holds the constraint.
    std::unordered_map<std::string, std::vector<std::size_t>, TextHash> places;
    for (std::size_t i = 0; i < rules.size(); ++i) {
        auto key = applicationGroupIdentityForRule(*rules[i]);
        key.append(1, '\0').append(rules[i]->constraint());
        places[std::move(key)].push_back(i);
    }
    std::vector<const PolicyRule*> covering(rules.size());
    std::vector<const PolicyRule*> group;
    for (const auto& [key, members] : places) {
        if (members.size() == 1)
            continue;
        group.clear();
        for (const auto place : members)
            group.push_back(rules[place]);
        const auto found = coveringRules(group);
        for (std::size_t i = 0; i < members.size(); ++i)
            covering[members[i]] = found[i];
    }
    return covering;
}

}
