#include "rules/failsafe_merge.h"

#include <algorithm>
#include <limits>

namespace vossel {

namespace {

constexpr std::size_t nowhere = std::numeric_limits<std::size_t>::max();

template <class Table, class Fits>
std::size_t firstThatFits(
    const Table& index, std::string_view key, const RuleGroup& group, const Fits& fits)
{
    const auto bucket = index.find(key);
    if (bucket == index.end())
        return nowhere;
    // Those that do not fit have one path and differ in their few numbers: they do not pile up.
    for (const auto place : bucket->second)
        if (fits(*group.rules[place]))
            return place;
    return nowhere;
}

}

FailsafeMerge::FailsafeMerge(RuleGroup& group)
    : group_(group)
{
    for (std::size_t place = 0; place < group.rules.size(); ++place)
        enter(place);
}

bool FailsafeMerge::absorbs(const PolicyRule& rule)
{
    const auto equal = firstThatFits(byPath_, rule.path(), group_,
        [&rule](const PolicyRule& other) { return other.isEqualToPolicyRule(rule); });
    if (rule.path().starts_with(':'))
        return equal != nowhere;

    const auto folder = parentDirectoryForm(rule.path());
    const auto covering = firstThatFits(byPath_, folder, group_,
        [&rule](const PolicyRule& other) { return other.isEqualToPolicyRuleWithPrefix(rule); });
    const auto beside
        = firstThatFits(byFolder_, folder, group_, [&rule, &folder](const PolicyRule& other) {
              return other.path() != folder && other.path() != rule.path();
          });
    if (beside < std::min(equal, covering)) {
        remove(beside);
        group_.rules[beside]->setPath(folder);
        enter(beside);
        return true;
    }
    return std::min(equal, covering) != nowhere;
}

void FailsafeMerge::append(std::unique_ptr<PolicyRule> rule)
{
    group_.rules.push_back(std::move(rule));
    enter(group_.rules.size() - 1);
}

void FailsafeMerge::enter(std::size_t place)
{
    const auto path = group_.rules[place]->path();
    byPath_[std::string(path)].insert(place);
    byFolder_[parentDirectoryForm(path)].insert(place);
}

void FailsafeMerge::remove(std::size_t place)
{
    const auto path = group_.rules[place]->path();
    byPath_[std::string(path)].erase(place);
    byFolder_[parentDirectoryForm(path)].erase(place);
}

}
