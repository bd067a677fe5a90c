#pragma once

#include "rules/equal_rules.h"
#include "rules/rule_statement.h"
#include "rules/store/application_table.h"
#include "rules/store/rule_groups.h"
#include "rules/store/stable_list.h"
#include "rules/text_pool.h"
#include "rules/watch_rule.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vossel {

// Takes the rules of one or more files into a store: numbers them, shares their texts, drops what
// is there already. Owns what was read of a file until it is known whether the file counts; never
// opens a file itself. It is destroyed after the last file, and nobody else changes the store's
// rules before that. One thread.
class RuleLoading {
public:
    RuleLoading(
        Arena& arena, RuleGroups& groups, WatchRules& watchRules, std::int64_t& ruleSequence)
        : arena_(arena)
        , groups_(groups)
        , watchRules_(watchRules)
        , ruleSequence_(ruleSequence)
    {
    }

    // Some lines of a file. What they say waits until it is known whether the file counts.
    void read(std::string_view lines, const RulesKind& kind);
    // Appends what was read; options to `options`. A fail-safe file's policy rules are merged
    // (FailsafeMerge).
    void commit(bool failsafe, std::vector<FilterOption>& options);
    void discard();

private:
    // A line that is a statement, in fields.
    struct Cut {
        RuleFields fields;
        StatementKind kind = StatementKind::None;
        ApplicationTable::Wanted application;
    };
    struct HashedPolicy {
        PolicyRule* rule;
        std::uint64_t hash;
    };
    struct WaitingPolicy {
        HashedPolicy policy;
        LoadedApplication* application;
    };
    struct WaitingWatch {
        WatchRule* rule = nullptr;
        std::uint64_t hash = 0;
        std::string operationsAsWritten;
    };

    struct WaitingOption {
        FilterOption option;
        std::int64_t before = 0; // rules that were read before it
    };

    static bool cut(std::string_view line, const RulesKind& kind, Cut& into);
    void expect(Cut* first, Cut* last) const;
    void wait(const Cut& line, const RulesKind& kind);
    void forgetWaiting();
    struct Buckets;
    [[nodiscard]] Buckets bucketsByGroup();
    void logWaiting(const Buckets& buckets) const;
    void commitWatchRules();
    void commitPolicyRules(const Buckets& buckets, bool failsafe);
    using Place = const HashedPolicy*;
    void addDistinct(RuleGroup& group, Place first, Place last);
    void expectComparison(Place place, Place last) const;
    void addMerging(RuleGroup& group, Place first, Place last);

    Arena& arena_;
    RuleGroups& groups_;
    WatchRules& watchRules_;
    std::int64_t& ruleSequence_;

    Arena fresh_; // rules and texts of the file that is being read
    StableList<WaitingPolicy, 1024> policies_;
    std::vector<WaitingWatch> watches_;
    std::vector<WaitingOption> options_;
    std::int64_t numbered_ = 0; // rules that wait
    bool readsSystemRules_ = false;

    ApplicationTable applications_;
    TextPool tags_;
    EqualRules<PolicyRule> known_; // of one group at a time
};

}
