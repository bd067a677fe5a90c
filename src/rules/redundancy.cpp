#include "rules/redundancy.h"

#include "foundation/text_hash.h"
#include "rules/application_identity.h"
#include "rules/rule_vocabulary.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <unordered_map>
#include <utility>

namespace vossel {

namespace {

bool coversEveryPath(const PolicyRule& rule)
{
    return rule.path().empty() || rule.path() == "any";
}

using Places = std::vector<std::size_t>; // among the rules

// Sets, for each of these places, coveredBy to the first of them that covers it, if one does.
void findCovering(const std::vector<const PolicyRule*>& rules, Places places, Places& coveredBy)
{
    std::stable_sort(places.begin(), places.end(),
        [&rules](std::size_t a, std::size_t b) { return rules[a]->path() < rules[b]->path(); });
    const auto tryOn = [&rules, &coveredBy](std::size_t by, std::size_t on) {
        if (by != on && by < coveredBy[on] && covers(*rules[by], *rules[on]))
            coveredBy[on] = by;
    };
    Places everyPath;
    for (const auto place : places)
        if (coversEveryPath(*rules[place]))
            everyPath.push_back(place);
    // Sorted by path, whatever a prefix covers follows it at once.
    Places open;
    for (std::size_t first = 0; first < places.size();) {
        const auto path = rules[places[first]]->path();
        while (!open.empty() && !path.starts_with(rules[open.back()]->path()))
            open.pop_back();
        auto last = first;
        for (; last < places.size() && rules[places[last]]->path() == path; ++last)
            if (rules[places[last]]->policyType() == POLICY_TYPE_PREFIX)
                open.push_back(places[last]);
        for (; first < last; ++first) {
            for (const auto by : open)
                tryOn(by, places[first]);
            for (const auto by : everyPath)
                tryOn(by, places[first]);
        }
    }
}

}

bool isBitwiseInclusive(std::uint32_t a, std::uint32_t of)
{
    constexpr std::uint32_t looked = 0xFF;
    return (of & looked & ~a) == 0;
}

bool covers(const PolicyRule& rule, const PolicyRule& other)
{
    if (rule.policyClass() != other.policyClass()
        || !isBitwiseInclusive(rule.operations(), other.operations())
        || rule.constraint() != other.constraint())
        return false;
    return coversEveryPath(rule)
        || (rule.policyType() == POLICY_TYPE_PREFIX && other.path().starts_with(rule.path()));
}

std::vector<const PolicyRule*> coveringRules(const std::vector<const PolicyRule*>& rules)
{
    // A rule covers none of another constraint, and not every identity holds the constraint.
    std::unordered_map<std::string, Places, TextHash> applications;
    for (std::size_t i = 0; i < rules.size(); ++i) {
        auto key = applicationGroupIdentityForRule(*rules[i]);
        key.append(1, '\0').append(rules[i]->constraint());
        applications[std::move(key)].push_back(i);
    }
    const auto none = rules.size();
    Places coveredBy(rules.size(), none);
    for (auto& [key, places] : applications)
        findCovering(rules, std::move(places), coveredBy);
    std::vector<const PolicyRule*> covering(rules.size());
    for (std::size_t i = 0; i < rules.size(); ++i)
        covering[i] = coveredBy[i] == none ? nullptr : rules[coveredBy[i]];
    return covering;
}

}
