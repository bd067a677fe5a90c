#include "rules/rule_hash.h"

#include "foundation/text_hash.h"

namespace vossel {

std::uint64_t applicationHash(std::string_view processName, std::string_view constraint)
{
    const auto hash = textHash(processName);
    return constraint.empty() ? hash : mixedHash(hash, textHash(constraint));
}

std::uint64_t ruleHash(const Rule& rule, std::uint64_t applicationHash)
{
    const auto numbers = std::uint64_t{rule.flags()} << 40U
        ^ std::uint64_t{rule.operations()} << 16U
        ^ static_cast<std::uint64_t>(rule.policyType()) << 8U
        ^ static_cast<std::uint64_t>(rule.getPolicyClass());
    return mixedHash(mixedHash(textHash(rule.path()), numbers), applicationHash);
}

std::uint64_t ruleHash(const PolicyRule& rule)
{
    return ruleHash(rule, applicationHash(rule.processName(), rule.constraint()));
}

std::uint64_t ruleHash(const WatchRule& rule)
{
    return ruleHash(rule, applicationHash(rule.processName(), {}));
}

}
