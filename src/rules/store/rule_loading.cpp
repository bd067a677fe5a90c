#include "rules/store/rule_loading.h"

#include "foundation/log.h"
#include "rules/application_identity.h"
#include "rules/rule_hash.h"
#include "rules/rules_scanner.h"
#include "rules/store/failsafe_merge.h"

#include <array>
#include <numeric>
#include <string>
#include <unordered_map>
#include <utility>

namespace vossel {

namespace {

// How many lines are cut before the first of them is looked up: enough to wait for all their cache
// misses at once, few enough to stay in the nearest cache.
constexpr std::size_t batchSize = 64;
// Likewise, for rules that are compared.
constexpr std::ptrdiff_t lookAhead = 8;

// The constraint of a watch rule is nothing.
std::string_view constraintOf(const RuleFields& fields, StatementKind kind)
{
    return kind == StatementKind::Policy ? fields.at[6] : std::string_view();
}

void logRule(const PolicyRule& rule, const RuleGroup& group)
{
    logText("policy class %@ type %@ path %@ process %@ operations %@ flags %@ constraint %@ to "
            "application directory for '%@'",
        std::to_string(rule.policyClass()), std::to_string(rule.policyType()), rule.path(),
        rule.processName(), std::to_string(rule.operations()), std::to_string(rule.flags()),
        rule.constraint(), group.identity);
}

void logRule(const WatchRule& rule, std::string_view operationsAsWritten)
{
    logText("watch policy type %@ path %@ proc %@ operations %@ (%@)",
        std::to_string(rule.policyType()), rule.path(), rule.processName(),
        std::to_string(rule.operations()), operationsAsWritten);
}

void logOption(const FilterOption& option)
{
    logText("option %@ set to %@", option.name, std::to_string(option.value));
}

}

void RuleLoading::read(std::string_view lines, const RulesKind& kind)
{
    readsSystemRules_ = kind.system;
    std::array<Cut, batchSize> batch;
    RuleLines rest(lines);
    for (bool more = true; more;) {
        std::size_t count = 0;
        std::string_view line;
        while (count < batch.size() && (more = rest.next(line)))
            count += cut(line, kind, batch[count]) ? 1 : 0;
        expect(batch.data(), batch.data() + count);
        for (std::size_t i = 0; i < count; ++i)
            wait(batch[i], kind);
    }
}

bool RuleLoading::cut(std::string_view line, const RulesKind& kind, Cut& into)
{
    if (line.empty() || line.front() == ';')
        return false;
    into.fields = cutFields(line);
    into.kind = classify(into.fields, kind);
    auto& application = into.application;
    application.processName = into.fields.at[3];
    application.constraint = constraintOf(into.fields, into.kind);
    application.hash = applicationHash(application.processName, application.constraint);
    return into.kind != StatementKind::None;
}

void RuleLoading::expect(Cut* first, Cut* last) const
{
    for (const auto* line = first; line != last; ++line)
        applications_.expectSlot(line->application);
    for (auto* line = first; line != last; ++line)
        applications_.expectApplication(line->application);
    for (const auto* line = first; line != last; ++line)
        applications_.expectName(line->application);
}

void RuleLoading::wait(const Cut& line, const RulesKind& kind)
{
    if (line.kind == StatementKind::Option) {
        options_.push_back({filterOptionOf(line.fields), numbered_});
        return;
    }
    auto& application = applications_.find(line.application, fresh_);
    const auto sequence = ruleSequence_ + numbered_++;
    if (line.kind == StatementKind::Watch) {
        auto& rule = watchRuleOf(line.fields, kind, application, tags_, fresh_);
        rule.setSequence(sequence);
        const auto hash = ruleHash(rule, line.application.hash);
        watches_.push_back({&rule, hash, std::string(line.fields.at[4])});
    } else {
        auto& rule = policyRuleOf(line.fields, kind, application, tags_, fresh_);
        rule.setSequence(sequence);
        const auto hash = ruleHash(rule, line.application.hash);
        policies_.append({{&rule, hash}, &application});
        ++application.waiting;
    }
}

// The waiting policy rules, sorted into their groups: within a group in the order of the file.
// Group by group they are compared and appended in memory that is at hand.
struct RuleLoading::Buckets {
    std::vector<RuleGroup*> groups;
    std::vector<std::size_t> ends; // of each group's rules
    std::vector<HashedPolicy> rules; // group by group
};

void RuleLoading::commit(bool failsafe, std::vector<FilterOption>& options)
{
    const auto buckets = bucketsByGroup();
    if (logListening())
        logWaiting(buckets);
    for (auto& waiting : options_)
        options.push_back(std::move(waiting.option));
    commitWatchRules();
    commitPolicyRules(buckets, failsafe);
    ruleSequence_ += numbered_;
    arena_.absorb(std::move(fresh_));
    forgetWaiting();
}

void RuleLoading::discard()
{
    forgetWaiting();
    // Their texts may lie in what goes now.
    applications_.clear();
    tags_.clear();
    fresh_ = {};
}

void RuleLoading::forgetWaiting()
{
    readsSystemRules_ = false;
    for (std::size_t i = 0; i < applications_.size(); ++i)
        applications_[i].waiting = 0;
    policies_.clear();
    watches_.clear();
    options_.clear();
    numbered_ = 0;
}

// In the order of the file.
void RuleLoading::logWaiting(const Buckets& buckets) const
{
    auto option = options_.begin();
    auto watch = watches_.begin();
    std::size_t policy = 0;
    for (std::int64_t number = 0; number <= numbered_; ++number) {
        for (; option != options_.end() && option->before == number; ++option)
            logOption(option->option);
        if (number == numbered_)
            break;
        if (watch != watches_.end() && watch->rule->sequence() == ruleSequence_ + number) {
            logRule(*watch->rule, watch->operationsAsWritten);
            ++watch;
        } else {
            const auto& waiting = policies_[policy++];
            logRule(*waiting.policy.rule, *buckets.groups[waiting.application->bucket]);
        }
    }
}

void RuleLoading::commitWatchRules()
{
    if (watches_.empty())
        return;
    EqualRules<WatchRule> known;
    known.reset(watchRules_.size() + watches_.size());
    for (const auto* rule : watchRules_)
        known.insert(ruleHash(*rule), *rule);
    for (const auto& waiting : watches_) {
        const auto* rule = waiting.rule;
        if (known.find(waiting.hash,
                [rule](const WatchRule& other) { return other.isEqualToWatchRule(*rule); }))
            continue;
        known.insert(waiting.hash, *rule);
        watchRules_.push_back(rule);
    }
}

RuleLoading::Buckets RuleLoading::bucketsByGroup()
{
    Buckets buckets;
    std::unordered_map<const RuleGroup*, std::size_t> known;
    std::vector<std::size_t> counts;
    for (std::size_t i = 0; i < applications_.size(); ++i) {
        auto& application = applications_[i];
        if (application.waiting == 0)
            continue;
        // Different applications may have one group.
        auto& group = groups_.groupFor(applicationGroupIdentity(
            application.processName.view(), application.constraint.view()));
        const auto [entry, isNew] = known.try_emplace(&group, buckets.groups.size());
        if (isNew) {
            group.mayHoldSystemRules |= readsSystemRules_;
            buckets.groups.push_back(&group);
            counts.push_back(0);
        }
        application.bucket = entry->second;
        counts[application.bucket] += application.waiting;
    }
    std::vector<std::size_t> next(counts.size());
    std::exclusive_scan(counts.begin(), counts.end(), next.begin(), std::size_t{0});
    buckets.rules.resize(policies_.size());
    for (std::size_t i = 0; i < policies_.size(); ++i) {
        const auto& waiting = policies_[i];
        buckets.rules[next[waiting.application->bucket]++] = waiting.policy;
    }
    buckets.ends = std::move(next);
    return buckets;
}

void RuleLoading::commitPolicyRules(const Buckets& buckets, bool failsafe)
{
    const auto* first = buckets.rules.data();
    for (std::size_t i = 0; i < buckets.groups.size(); ++i) {
        const auto* last = buckets.rules.data() + buckets.ends[i];
        if (failsafe)
            addMerging(*buckets.groups[i], first, last);
        else
            addDistinct(*buckets.groups[i], first, last);
        first = last;
    }
}

void RuleLoading::addDistinct(RuleGroup& group, Place first, Place last)
{
    const auto maxRules = group.rules.size() + static_cast<std::size_t>(last - first);
    known_.reset(maxRules);
    for (const auto* rule : group.rules)
        known_.insert(ruleHash(*rule), *rule);
    group.rules.reserve(maxRules);
    for (; first != last; ++first) {
        expectComparison(first, last);
        auto* rule = first->rule;
        if (known_.find(first->hash,
                [rule](const PolicyRule& other) { return other.isEqualToPolicyRule(*rule); }))
            continue;
        known_.insert(first->hash, *rule);
        group.rules.push_back(rule);
    }
}

// Asks for rules that will soon be compared, and then for their paths.
void RuleLoading::expectComparison(Place place, Place last) const
{
    if (last - place > 2 * lookAhead) {
        const auto& waiting = place[2 * lookAhead];
        if (const auto* equal = known_.likely(waiting.hash)) {
            prefetch(equal, sizeof *equal);
            prefetch(waiting.rule, sizeof *equal);
        }
    }
    if (last - place > lookAhead) {
        const auto& waiting = place[lookAhead];
        if (const auto* equal = known_.likely(waiting.hash)) {
            prefetch(equal->path().data());
            prefetch(waiting.rule->path().data());
        }
    }
}

void RuleLoading::addMerging(RuleGroup& group, Place first, Place last)
{
    FailsafeMerge merge(group, fresh_);
    for (; first != last; ++first)
        if (!merge.absorbs(*first->rule))
            merge.append(*first->rule);
}

}
