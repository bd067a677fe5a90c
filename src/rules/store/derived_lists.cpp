#include "rules/store/derived_lists.h"

#include <algorithm>
#include <utility>

namespace vossel {

namespace {

template <class T>
int compared(const T& a, const T& b)
{
    return a < b ? -1 : b < a ? 1 : 0;
}

// Below, at or above 0 as a sorts before, with or after b.
int compareBy(SortDescriptor::Key key, const Rule& a, const Rule& b)
{
    using Key = SortDescriptor::Key;
    const auto constraintOf = [](const Rule& rule) {
        const auto* policy = dynamic_cast<const PolicyRule*>(&rule);
        return policy ? policy->constraint() : std::string_view();
    };
    const auto createdOf = [](const Rule& rule) {
        const auto* policy = dynamic_cast<const PolicyRule*>(&rule);
        return policy ? policy->created() : 0;
    };
    switch (key) {
    case Key::PolicyClass:
        return compared(a.getPolicyClass(), b.getPolicyClass());
    case Key::PolicyType:
        return compared(a.policyType(), b.policyType());
    case Key::Path:
        return compared(a.path(), b.path());
    case Key::ProcessName:
        return compared(a.processName(), b.processName());
    case Key::ProcessShortName:
        return compared(a.getProcessShortName(), b.getProcessShortName());
    case Key::Tag:
        return compared(a.tag(), b.tag());
    case Key::Constraint:
        return compared(constraintOf(a), constraintOf(b));
    case Key::Operations:
        return compared(a.operations(), b.operations());
    case Key::Flags:
        return compared(a.flags(), b.flags());
    case Key::Created:
        return compared(createdOf(a), createdOf(b));
    case Key::Sequence:
        return compared(a.sequence(), b.sequence());
    case Key::System:
        return compared(a.system(), b.system());
    case Key::RuleState:
        return compared(a.getRuleState(), b.getRuleState());
    }
    return 0;
}

// Whether a filter finds one of a rule's texts. A group's rules mostly share their process name,
// so that its answer is kept.
class RuleFilter {
public:
    explicit RuleFilter(const TextSearch& search)
        : search_(search)
    {
    }

    bool finds(const Rule& rule)
    {
        return findsProcess(rule.processNameText()) || search_.foundIn(rule.path());
    }
    bool findsWithTag(const Rule& rule) { return finds(rule) || search_.foundIn(rule.tag()); }

private:
    bool findsProcess(const RuleText& name)
    {
        if (!known_ || name.identity() != lastProcess_) {
            known_ = true;
            lastProcess_ = name.identity();
            lastFound_ = search_.foundIn(name.view());
        }
        return lastFound_;
    }

    const TextSearch& search_;
    bool known_ = false;
    const void* lastProcess_ = nullptr;
    bool lastFound_ = false;
};

}

void DerivedLists::invalidate()
{
    listsValid_ = false;
    countsValid_ = false;
    unlisted_ = false;
}

void DerivedLists::keepForNow()
{
    settle();
    unlisted_ = true;
}

void DerivedLists::invalidateFor(const WatchRule& rule, std::ptrdiff_t change)
{
    countChange(rule, passes(rule), change);
}

void DerivedLists::invalidateFor(const PolicyRule& rule, std::ptrdiff_t change)
{
    countChange(rule, passes(rule), change);
}

void DerivedLists::countChange(const Rule& rule, bool passes, std::ptrdiff_t change)
{
    if (unlisted_) {
        invalidate();
        return;
    }
    listsValid_ = false;
    if (!passes)
        return;
    const auto by = static_cast<std::size_t>(change); // wraps around for a removal
    counts_.all += by;
    if (!rule.system())
        counts_.userOnly += by;
}

void DerivedLists::settle() const
{
    (void)lists();
}

void DerivedLists::setFilter(std::string_view text)
{
    filter_.reset();
    if (!text.empty())
        filter_.emplace(text);
    invalidate();
}

void DerivedLists::setOrder(std::vector<SortDescriptor> order)
{
    settle();
    order_ = std::move(order);
    sortComposites();
}

const std::vector<const PolicyRule*>& DerivedLists::policyRules() const
{
    return lists().policyRules;
}

const std::vector<const Rule*>& DerivedLists::compositeIndex() const
{
    return lists().compositeIndex;
}

const std::vector<const Rule*>& DerivedLists::compositeIndexUserOnly() const
{
    return lists().compositeIndexUserOnly;
}

std::size_t DerivedLists::count(bool includeSystemRules) const
{
    if (!countsValid_)
        settle();
    return includeSystemRules ? counts_.all : counts_.userOnly;
}

bool DerivedLists::passes(const WatchRule& rule) const
{
    return !filter_ || RuleFilter(*filter_).finds(rule);
}

bool DerivedLists::passes(const PolicyRule& rule) const
{
    return !filter_ || RuleFilter(*filter_).findsWithTag(rule);
}

const DerivedLists::Lists& DerivedLists::lists() const
{
    if (std::exchange(listsValid_, true))
        return lists_;
    auto rules = groups_.rules();
    lists_ = {};
    lists_.groups = groups_.sorted();
    if (filter_)
        listPassing(rules);
    else
        listAll(std::move(rules));
    counts_ = {lists_.compositeIndex.size(), lists_.compositeIndexUserOnly.size()};
    countsValid_ = true;
    sortComposites();
    return lists_;
}

void DerivedLists::listAll(std::vector<const PolicyRule*> rules) const
{
    auto& [groups, policyRules, all, userOnly] = lists_;
    policyRules = std::move(rules);
    all.reserve(watchRules_.size() + policyRules.size());
    for (const auto* rule : watchRules_) {
        all.push_back(rule);
        if (!rule->system())
            userOnly.push_back(rule);
    }
    all.insert(all.end(), policyRules.begin(), policyRules.end());
    if (!groups_.mayHoldSystemRules()) {
        userOnly.insert(userOnly.end(), policyRules.begin(), policyRules.end());
        return;
    }
    for (std::size_t i = 0; i < policyRules.size(); ++i) {
        expectAfter(policyRules, i);
        if (!policyRules[i]->system())
            userOnly.push_back(policyRules[i]);
    }
}

void DerivedLists::listPassing(const std::vector<const PolicyRule*>& rules) const
{
    RuleFilter filter(*filter_);
    const auto append = [this](const Rule& rule) {
        lists_.compositeIndex.push_back(&rule);
        if (!rule.system())
            lists_.compositeIndexUserOnly.push_back(&rule);
    };
    for (const auto* rule : watchRules_)
        if (filter.finds(*rule))
            append(*rule);
    for (std::size_t i = 0; i < rules.size(); ++i) {
        expectAfter(rules, i);
        if (!filter.findsWithTag(*rules[i]))
            continue;
        lists_.policyRules.push_back(rules[i]);
        append(*rules[i]);
    }
}

void DerivedLists::sortComposites() const
{
    if (order_.empty())
        return;
    const auto before = [this](const Rule* a, const Rule* b) {
        for (const auto& [key, ascending] : order_)
            if (const int order = compareBy(key, *a, *b); order != 0)
                return (order < 0) == ascending;
        return false;
    };
    std::stable_sort(lists_.compositeIndex.begin(), lists_.compositeIndex.end(), before);
    std::stable_sort(
        lists_.compositeIndexUserOnly.begin(), lists_.compositeIndexUserOnly.end(), before);
}

}
