#pragma once

#include "foundation/text_search.h"
#include "foundation/utf8.h"
#include "rules/application_identity.h"
#include "rules/store/rule_manager.h"

#include <algorithm>
#include <array>
#include <random>

// What rules files mean, in the plainest and slowest way: character by character, rule by rule,
// each compared with all others. Tests and the fuzz target hold the store against it.

namespace vossel::test {

inline std::vector<std::string> literalLines(std::string_view text)
{
    constexpr std::array<std::string_view, 7> breaks
        = {"\n", "\v", "\f", "\r", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"};
    std::vector<std::string> lines(1);
    while (!text.empty()) {
        const auto found = std::find_if(breaks.begin(), breaks.end(),
            [text](std::string_view ending) { return text.starts_with(ending); });
        if (found == breaks.end())
            lines.back() += text.front();
        else
            lines.emplace_back();
        text.remove_prefix(found == breaks.end() ? 1 : found->size());
    }
    return lines;
}

inline std::vector<std::string> literalFields(std::string_view line)
{
    std::vector<std::string> fields;
    std::string pending;
    bool quoted = false;
    for (std::size_t at = 0;; ++at) {
        std::string word;
        while (at < line.size() && line[at] != ' ' && line[at] != '"')
            word += line[at++];
        if (at == line.size()) {
            if (!word.empty())
                fields.push_back(word);
            return fields;
        }
        if (line[at] == '"') {
            if (quoted || !word.empty())
                fields.push_back(std::exchange(pending, {}) + word);
            quoted = !quoted;
        } else if (quoted) {
            pending += word + ' ';
        } else if (!word.empty()) {
            fields.push_back(word);
        }
    }
}

inline std::int64_t literalInteger(std::string_view text)
{
    while (text.starts_with(' '))
        text.remove_prefix(1);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+'))
        text.remove_prefix(1);
    std::int64_t value = 0;
    for (; !text.empty() && text[0] >= '0' && text[0] <= '9'; text.remove_prefix(1)) {
        const int digit = text[0] - '0';
        if (__builtin_mul_overflow(value, std::int64_t{10}, &value)
            || __builtin_add_overflow(value, negative ? -digit : digit, &value))
            return negative ? INT64_MIN : INT64_MAX;
    }
    return value;
}

// Everything that a rule says, in the order of SortDescriptor's keys.
inline std::vector<std::string> partsOf(const Rule& rule)
{
    const auto* policy = dynamic_cast<const PolicyRule*>(&rule);
    return {std::to_string(rule.getPolicyClass()), std::to_string(rule.policyType()),
        std::string(rule.path()), std::string(rule.processName()), rule.getProcessShortName(),
        std::string(rule.tag()), std::string(policy ? policy->constraint() : ""),
        std::to_string(rule.operations()), std::to_string(rule.flags()),
        std::to_string(policy ? policy->created() : 0), std::to_string(rule.sequence()),
        std::to_string(rule.system() ? 1 : 0), std::to_string(rule.getRuleState())};
}

inline std::string joined(const std::vector<std::string>& parts)
{
    std::string text;
    for (const auto& part : parts)
        text.append(part).append("|");
    return text;
}

inline std::string described(const Rule& rule)
{
    return joined(partsOf(rule));
}

template <class Rules>
std::vector<std::string> describedAll(const Rules& rules)
{
    std::vector<std::string> texts;
    for (const auto& rule : rules)
        texts.push_back(described(*rule));
    return texts;
}

struct LiteralStore {
    std::vector<std::shared_ptr<WatchRule>> watchRules;
    using GroupKey = std::pair<std::string, std::string>; // folded identity, identity
    std::map<GroupKey, std::vector<std::shared_ptr<PolicyRule>>> groups;
    std::vector<FilterOption> options;
    std::int64_t sequence = 0;

    std::vector<std::shared_ptr<PolicyRule>>& groupOf(const PolicyRule& rule)
    {
        const auto identity = applicationGroupIdentityForRule(rule);
        return groups[{caseFolded(identity), identity}];
    }
    [[nodiscard]] std::vector<std::shared_ptr<Rule>> all() const
    {
        std::vector<std::shared_ptr<Rule>> rules(watchRules.begin(), watchRules.end());
        for (const auto& [key, group] : groups)
            rules.insert(rules.end(), group.begin(), group.end());
        return rules;
    }

    void read(std::string_view content, const RulesKind& kind, bool failsafe = false)
    {
        content = content.substr(0, content.find('\0'));
        if (!isValidUtf8(content))
            return;
        for (const auto& line : literalLines(content)) {
            auto fields = literalFields(line);
            if (line.starts_with(';') || fields.size() < 3)
                continue;
            const bool isOption = kind.setsOptions && fields[0] == "set";
            if (!isOption && fields.size() < 5)
                continue;
            fields.resize(std::max<std::size_t>(fields.size(), 8));
            if (isOption)
                options.push_back(
                    {static_cast<std::uint32_t>(literalInteger(fields[2])), fields[1]});
            else if (fields[0] == "watch")
                take(filled(std::make_shared<WatchRule>(), fields, kind));
            else
                take(policyRule(fields, kind), failsafe);
        }
    }

private:
    template <class RuleType>
    std::shared_ptr<RuleType> filled(std::shared_ptr<RuleType> rule,
        const std::vector<std::string>& fields, const RulesKind& kind)
    {
        rule->setPolicyType(policyTypeForString(fields[1]));
        rule->setPath(fields[2]);
        rule->setProcessName(fields[3]);
        rule->setOperations(operationsForString(fields[4]));
        rule->setTag(kind.system ? "" : fields[5]);
        rule->setFlags(kind.system ? flagsForString(fields[5]) : 0);
        rule->setSystem(kind.system);
        rule->setSequence(sequence++);
        return rule;
    }
    std::shared_ptr<PolicyRule> policyRule(
        const std::vector<std::string>& fields, const RulesKind& kind)
    {
        auto rule = filled(std::make_shared<PolicyRule>(), fields, kind);
        rule->setPolicyClass(policyClassForString(fields[0]));
        rule->setConstraint(fields[6]);
        rule->setCreated(static_cast<std::uint64_t>(literalInteger(fields[7])));
        return rule;
    }
    void take(const std::shared_ptr<WatchRule>& rule)
    {
        for (const auto& other : watchRules)
            if (other->isEqualToWatchRule(*rule))
                return;
        watchRules.push_back(rule);
    }
    void take(const std::shared_ptr<PolicyRule>& rule, bool failsafe)
    {
        auto& group = groupOf(*rule);
        const auto folder = parentDirectoryForm(rule->path());
        bool duplicate = false;
        for (const auto& other : group) {
            if (failsafe && !duplicate && !rule->path().starts_with(':')) {
                duplicate = other->isEqualToPolicyRuleWithPrefix(*rule);
                if (parentDirectoryForm(other->path()) == folder && other->path() != folder
                    && other->path() != rule->path()) {
                    other->setPath(folder);
                    duplicate = true;
                }
            }
            duplicate |= other->isEqualToPolicyRule(*rule);
        }
        if (!duplicate)
            group.push_back(rule);
    }
};

// The same choices in every run.
class Choices {
public:
    std::size_t below(std::size_t end) { return engine_() % end; }
    template <class List>
    const auto& of(const List& list)
    {
        return list[below(std::size(list))];
    }
    // A line that is a rule, of few different texts, so that rules are often alike.
    std::string ruleLine()
    {
        static constexpr std::array<const char*, 14> paths = {"/d/a", "/d/b", "/d/", "/d", "/d/e/f",
            "/d/e/", "/d/e", "/", "/g", ":NVRAM/x", ":NVRAM/", "any", "", "//"};
        static constexpr std::array<const char*, 5> programs
            = {"any", "/bin/Cat", "/BIN/cat", "any via tool", "/bin/cat via /bin/sh"};
        std::string line = of(std::array{"allow", "allow", "deny", "watch", "huh"});
        line.append(of(std::array{" prefix \"", " path \"", " suffix \""})).append(of(paths));
        line.append("\" \"").append(of(programs)).append(of(std::array{"\" r", "\" rw", "\" x"}));
        line.append(of(std::array{"", " s", " \"a tag\"", " u TEAM", " us \"\" 77"}));
        return line + "\n";
    }
    std::string ruleLines(std::size_t count)
    {
        std::string lines;
        while (count-- > 0)
            lines += ruleLine();
        return lines;
    }

private:
    std::mt19937 engine_{20'261};
};

}
