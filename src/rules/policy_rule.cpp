#include "rules/policy_rule.h"

#include "foundation/path_text.h"
#include "rules/application_identity.h"
#include "rules/rule_vocabulary.h"

#include <ctime>

namespace vossel {

namespace {

constexpr std::uint64_t newFor = 86'400; // seconds

}

PolicyRule::PolicyRule()
    : PolicyRule(std::time(nullptr))
{
}

bool PolicyRule::sameButForPath(const PolicyRule& other) const
{
    return policyClass_ == other.policyClass_ && governsAsMuchAs(other)
        && constraint_ == other.constraint_;
}

bool PolicyRule::isEqualToPolicyRule(const PolicyRule& other) const
{
    return sameButForPath(other) && hasPathOf(other);
}

bool PolicyRule::isEqualToPolicyRuleWithPrefix(const PolicyRule& other) const
{
    return sameButForPath(other) && path() == parentDirectoryForm(other.path());
}

void PolicyRule::moveTextsTo(Arena& arena)
{
    Rule::moveTextsTo(arena);
    constraint_ = RuleText(arena, constraint_.view());
}

std::uint32_t PolicyRule::getRuleState() const
{
    if (system())
        return RULE_STATE_SYSTEM;
    const auto age = static_cast<std::uint64_t>(initialized_) - created_;
    return age < newFor ? RULE_STATE_NEW : RULE_STATE_ORDINARY;
}

std::string PolicyRule::getProcessShortName() const
{
    return applicationNameForRule(*this);
}

std::string_view PolicyRule::policyClassDescription(std::int32_t policyClass)
{
    switch (policyClass) {
    case POLICY_CLASS_ALLOW:
        return "allow";
    case POLICY_CLASS_DENY:
        return "deny";
    case POLICY_CLASS_WATCH:
        return "watch";
    default:
        return "err";
    }
}

std::string_view PolicyRule::policyTypeDescription(std::int32_t policyType)
{
    switch (policyType) {
    case POLICY_TYPE_PREFIX:
        return "prefix";
    case POLICY_TYPE_PATH:
        return "path";
    case POLICY_TYPE_SUFFIX:
        return "suffix";
    default:
        return "err";
    }
}

std::string PolicyRule::operationsDescription(std::uint32_t operations)
{
    return operationsForInteger(operations);
}

std::string PolicyRule::flagsDescription(std::uint32_t flags)
{
    return flagsForInteger(flags & RULE_FLAG_POLICY);
}

std::string parentDirectoryForm(std::string_view path)
{
    std::string form(parentPath(path));
    form += '/';
    return form;
}

}
