#include "rules/rule_statement.h"

#include "rules/rules_scanner.h"
#include "rules/text_pool.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <system_error>

namespace vossel {

namespace {

// Blanks, a sign and digits at the start, cut to the range; 0 without digits.
std::int64_t leadingInteger(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const bool negative = text.starts_with('-');
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-'))
            return 0;
    }
    std::int64_t value = 0;
    const auto error = std::from_chars(text.data(), text.data() + text.size(), value).ec;
    using Limits = std::numeric_limits<std::int64_t>;
    if (error == std::errc::result_out_of_range)
        return negative ? Limits::min() : Limits::max();
    return value;
}

// What both kinds of rule say in the same places.
void readCommon(Rule& rule, const RuleFields& fields, const RulesKind& kind,
    const Application& application, TextPool& tags, Arena& arena)
{
    rule.setPolicyType(policyTypeForString(fields.at[1]));
    rule.setPath({arena, fields.at[2]});
    rule.setProcessName(application.processName.alias());
    rule.setOperations(operationsForString(fields.at[4]));
    rule.setSystem(kind.system);
    if (kind.system)
        rule.setFlags(flagsForString(fields.at[5]));
    else
        rule.setTag(tags.shared(arena, fields.at[5]));
}

}

RuleFields cutFields(std::string_view line)
{
    RuleFields fields;
    fields.quoteOpen = !scanFields(line, [&fields](std::string_view field) {
        if (fields.count < RuleFields::max)
            fields.at[fields.count] = field;
        ++fields.count;
    });
    return fields;
}

StatementKind classify(const RuleFields& fields, const RulesKind& kind)
{
    if (kind.setsOptions && fields.count >= minOptionFields && fields.at[0] == "set")
        return StatementKind::Option;
    if (fields.count < minRuleFields)
        return StatementKind::None;
    return fields.at[0] == "watch" ? StatementKind::Watch : StatementKind::Policy;
}

WatchRule& watchRuleOf(const RuleFields& fields, const RulesKind& kind,
    const Application& application, TextPool& tags, Arena& arena)
{
    auto& rule = arena.make<WatchRule>();
    readCommon(rule, fields, kind, application, tags, arena);
    return rule;
}

PolicyRule& policyRuleOf(const RuleFields& fields, const RulesKind& kind,
    const Application& application, TextPool& tags, Arena& arena)
{
    auto& rule = arena.make<PolicyRule>();
    readCommon(rule, fields, kind, application, tags, arena);
    rule.setPolicyClass(policyClassForString(fields.at[0]));
    rule.setConstraint(application.constraint.alias());
    rule.setCreated(static_cast<std::uint64_t>(leadingInteger(fields.at[7])));
    return rule;
}

FilterOption filterOptionOf(const RuleFields& fields)
{
    return {static_cast<std::uint32_t>(leadingInteger(fields.at[2])), std::string(fields.at[1])};
}

}
