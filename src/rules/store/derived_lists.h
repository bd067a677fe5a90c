#pragma once

#include "foundation/text_search.h"
#include "rules/store/rule_groups.h"
#include "rules/watch_rule.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace vossel {

// A property of rules by which a table sorts, and which way. Texts sort by code points. A property
// that watch rules lack is 0 or empty for them.
struct SortDescriptor {
    enum class Key {
        PolicyClass,
        PolicyType,
        Path,
        ProcessName,
        ProcessShortName,
        Tag,
        Constraint,
        Operations,
        Flags,
        Created,
        Sequence,
        System,
        RuleState,
    };
    Key key = Key::Path;
    bool ascending = true;
};

// What a rule table shows of a store's rules: those that pass the filter, sorted. Watch rules come
// first, then the policy rules group by group. The lists are computed when they are read after a
// change; counts follow single changes without that. Owns the lists, never the rules. One thread.
class DerivedLists {
public:
    DerivedLists(const RuleGroups& groups, const WatchRules& watchRules)
        : groups_(groups)
        , watchRules_(watchRules)
    {
    }

    // Everything may have changed.
    void invalidate();
    // Before a file's rules are added without being listed yet: they show after the next change.
    void keepForNow();
    // One rule was added or is about to be removed.
    void invalidateFor(const WatchRule& rule, std::ptrdiff_t change);
    void invalidateFor(const PolicyRule& rule, std::ptrdiff_t change);
    // Watch rules pass by path or process name, policy rules by these or by tag. The empty text
    // lets all pass.
    void setFilter(std::string_view text);
    // The first one decides; equal rules keep their order. policyRules stays as it is.
    void setOrder(std::vector<SortDescriptor> order);

    // All of them, sorted; filtered are only their rules.
    [[nodiscard]] const std::vector<RuleGroup*>& groups() const { return lists().groups; }
    [[nodiscard]] const std::vector<const PolicyRule*>& policyRules() const;
    [[nodiscard]] const std::vector<const Rule*>& compositeIndex() const;
    // Without the rules of system files.
    [[nodiscard]] const std::vector<const Rule*>& compositeIndexUserOnly() const;
    [[nodiscard]] std::size_t count(bool includeSystemRules) const;

private:
    struct Counts {
        std::size_t all = 0;
        std::size_t userOnly = 0;
    };
    struct Lists {
        std::vector<RuleGroup*> groups;
        std::vector<const PolicyRule*> policyRules;
        std::vector<const Rule*> compositeIndex;
        std::vector<const Rule*> compositeIndexUserOnly;
    };

    [[nodiscard]] const Lists& lists() const;
    void listAll(std::vector<const PolicyRule*> rules) const;
    void listPassing(const std::vector<const PolicyRule*>& rules) const;
    [[nodiscard]] bool passes(const WatchRule& rule) const;
    [[nodiscard]] bool passes(const PolicyRule& rule) const;
    void settle() const;
    void countChange(const Rule& rule, bool passes, std::ptrdiff_t change);
    void sortComposites() const;

    const RuleGroups& groups_;
    const WatchRules& watchRules_;
    std::optional<TextSearch> filter_;
    std::vector<SortDescriptor> order_;

    mutable Lists lists_;
    mutable bool listsValid_ = true; // empty lists of an empty store
    mutable Counts counts_;
    mutable bool countsValid_ = true;
    bool unlisted_ = false; // there are rules that the lists do not hold yet
};

}
