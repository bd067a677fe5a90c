#include "rules/store/rule_groups.h"

#include "foundation/prefetch.h"
#include "foundation/text_search.h"

#include <algorithm>
#include <tuple>

namespace vossel {

namespace {

// Paths are seldom longer, and the rest of a longer one is not far.
constexpr std::size_t usualPathSize = 96;

}

void expectAfter(const std::vector<const PolicyRule*>& rules, std::size_t place)
{
    constexpr std::size_t lookAhead = 12;
    if (place + 2 * lookAhead < rules.size())
        prefetch(rules[place + 2 * lookAhead], sizeof(PolicyRule));
    if (place + lookAhead < rules.size())
        prefetch(rules[place + lookAhead]->path().data(), usualPathSize);
}

RuleGroup& RuleGroups::groupFor(std::string identity)
{
    if (auto* known = find(identity))
        return *known;
    auto group = std::make_unique<RuleGroup>();
    group->folded = caseFolded(identity);
    group->identity = std::move(identity);
    sorted_.clear();
    const std::string_view key = group->identity;
    return *groups_.emplace(key, std::move(group)).first->second;
}

RuleGroup* RuleGroups::find(std::string_view identity)
{
    const auto known = groups_.find(identity);
    return known == groups_.end() ? nullptr : known->second.get();
}

const std::vector<RuleGroup*>& RuleGroups::sorted() const
{
    if (sorted_.size() != groups_.size()) {
        sorted_.clear();
        for (const auto& [identity, group] : groups_)
            sorted_.push_back(group.get());
        std::sort(sorted_.begin(), sorted_.end(), [](const RuleGroup* a, const RuleGroup* b) {
            return std::tie(a->folded, a->identity) < std::tie(b->folded, b->identity);
        });
    }
    return sorted_;
}

std::vector<const PolicyRule*> RuleGroups::rules() const
{
    std::size_t count = 0;
    for (const auto* group : sorted())
        count += group->rules.size();
    std::vector<const PolicyRule*> rules;
    rules.reserve(count);
    for (const auto* group : sorted())
        rules.insert(rules.end(), group->rules.begin(), group->rules.end());
    return rules;
}

bool RuleGroups::mayHoldSystemRules() const
{
    return std::any_of(groups_.begin(), groups_.end(),
        [](const auto& group) { return group.second->mayHoldSystemRules; });
}

void RuleGroups::clear()
{
    sorted_.clear();
    groups_.clear();
}

}
