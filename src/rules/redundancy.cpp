#include "rules/redundancy.h"

#include "rules/rule_vocabulary.h"

#include <algorithm>
#include <numeric>

namespace vossel {

namespace {

bool coversEveryPath(const PolicyRule& rule)
{
    return rule.path().empty() || rule.path() == "any";
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
    constexpr auto none = static_cast<std::size_t>(-1);
    std::vector<std::size_t> byPath(rules.size());
    std::iota(byPath.begin(), byPath.end(), std::size_t{0});
    std::stable_sort(byPath.begin(), byPath.end(),
        [&rules](std::size_t a, std::size_t b) { return rules[a]->path() < rules[b]->path(); });

    std::vector<std::size_t> coveredBy(rules.size(), none);
    const auto tryOn = [&rules, &coveredBy](std::size_t by, std::size_t on) {
        if (by != on && by < coveredBy[on] && covers(*rules[by], *rules[on]))
            coveredBy[on] = by;
    };
    std::vector<std::size_t> everyPath;
    for (std::size_t i = 0; i < rules.size(); ++i)
        if (coversEveryPath(*rules[i]))
            everyPath.push_back(i);
    // Sorted by path, whatever a prefix covers follows it at once.
    std::vector<std::size_t> open;
    for (std::size_t first = 0; first < byPath.size();) {
        const auto path = rules[byPath[first]]->path();
        while (!open.empty() && !path.starts_with(rules[open.back()]->path()))
            open.pop_back();
        auto last = first;
        for (; last < byPath.size() && rules[byPath[last]]->path() == path; ++last)
            if (rules[byPath[last]]->policyType() == POLICY_TYPE_PREFIX)
                open.push_back(byPath[last]);
        for (; first < last; ++first) {
            for (const auto by : open)
                tryOn(by, byPath[first]);
            for (const auto by : everyPath)
                tryOn(by, byPath[first]);
        }
    }
    std::vector<const PolicyRule*> covering(rules.size());
    for (std::size_t i = 0; i < rules.size(); ++i)
        covering[i] = coveredBy[i] == none ? nullptr : rules[coveredBy[i]];
    return covering;
}

}
