#include "rules/store/failsafe_merge.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace vossel {

namespace {

constexpr std::size_t nowhere = std::numeric_limits<std::size_t>::max();

// The same text for rules that differ in nothing but their path, where both are given the same one.
std::string keyOf(const PolicyRule& rule, std::string_view path)
{
    std::string key;
    for (const auto text : {path, rule.processName(), rule.constraint()})
        key.append(std::to_string(text.size())).append(" ").append(text);
    for (const std::int64_t number :
        {std::int64_t{rule.policyClass()}, std::int64_t{rule.policyType()},
            std::int64_t{rule.operations()}, std::int64_t{rule.flags()}})
        key.append(" ").append(std::to_string(number));
    return key;
}

template <class Index>
std::size_t firstOf(const Index& index, std::string_view key)
{
    const auto places = index.find(key);
    return places == index.end() || places->second.empty() ? nowhere : *places->second.begin();
}

}

FailsafeMerge::FailsafeMerge(RuleGroup& group, Arena& arena)
    : group_(group)
    , arena_(arena)
{
    for (std::size_t place = 0; place < group.rules.size(); ++place)
        enter(place);
}

bool FailsafeMerge::absorbs(const PolicyRule& rule)
{
    const auto equal = firstOf(byRule_, keyOf(rule, rule.path()));
    if (rule.path().starts_with(':'))
        return equal != nowhere;

    const auto folder = parentDirectoryForm(rule.path());
    const auto covering = firstOf(byRule_, keyOf(rule, folder));
    const auto beside = firstBeside(folder, rule.path());
    if (beside < std::min(equal, covering)) {
        remove(beside);
        group_.rules[beside]->setPath({arena_, folder});
        enter(beside);
        return true;
    }
    return std::min(equal, covering) != nowhere;
}

// In that folder, neither with its path nor with the other one.
std::size_t FailsafeMerge::firstBeside(const std::string& folder, std::string_view path) const
{
    const auto paths = firstOfPaths_.find(folder);
    if (paths == firstOfPaths_.end())
        return nowhere;
    // No path comes twice, so that this looks at three of them at most.
    for (const auto place : paths->second)
        if (const auto other = group_.rules[place]->path(); other != folder && other != path)
            return place;
    return nowhere;
}

void FailsafeMerge::append(PolicyRule& rule)
{
    group_.rules.push_back(&rule);
    enter(group_.rules.size() - 1);
}

void FailsafeMerge::enter(std::size_t place)
{
    const auto& rule = *group_.rules[place];
    byRule_[keyOf(rule, rule.path())].insert(place);
    auto& samePath = byPath_[std::string(rule.path())];
    auto& inFolder = firstOfPaths_[parentDirectoryForm(rule.path())];
    if (!samePath.empty())
        inFolder.erase(*samePath.begin());
    samePath.insert(place);
    inFolder.insert(*samePath.begin());
}

void FailsafeMerge::remove(std::size_t place)
{
    const auto& rule = *group_.rules[place];
    byRule_[keyOf(rule, rule.path())].erase(place);
    auto& samePath = byPath_[std::string(rule.path())];
    auto& inFolder = firstOfPaths_[parentDirectoryForm(rule.path())];
    inFolder.erase(*samePath.begin());
    samePath.erase(place);
    if (!samePath.empty())
        inFolder.insert(*samePath.begin());
}

}
