#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// The words and letters in which rules files and people write the numbers of a rule. Case counts.

namespace vossel {

class PolicyRule;
class Rule;
class WatchRule;

enum PolicyClass : std::int32_t {
    POLICY_CLASS_ALLOW = 0,
    POLICY_CLASS_DENY = 1,
    POLICY_CLASS_WATCH = 2, // of watch rules; never read as a class
    POLICY_CLASS_UNKNOWN = 4,
};

enum PolicyType : std::int32_t {
    POLICY_TYPE_PREFIX = 0, // every path that begins with the rule's
    POLICY_TYPE_PATH = 1, // that path alone
    POLICY_TYPE_SUFFIX = 2, // paths that end in it
    POLICY_TYPE_UNKNOWN = 4,
};

// Each operation that a rule is for; the numbers are those of the driver's messages.
enum RuleOperation : std::uint32_t {
    RULE_OPERATION_READ = 1, // "r"
    RULE_OPERATION_WRITE = 2, // "w"
    RULE_OPERATION_CREATE = 4, // "c"
    RULE_OPERATION_MOUNT = 8, // "m"
    RULE_OPERATION_EXECUTE = 16, // "x"
};

enum RuleFlag : std::uint32_t {
    RULE_FLAG_POLICY = 1, // "u"
    RULE_FLAG_WATCH = 2, // "s"
};

enum RuleState : std::uint32_t {
    RULE_STATE_ORDINARY = 0,
    RULE_STATE_SYSTEM = 1,
    RULE_STATE_NEW = 2,
};

// "allow", "deny"; anything else is unknown.
[[nodiscard]] std::int32_t policyClassForString(std::string_view text);
// "prefix", "path", "suffix"; anything else is unknown.
[[nodiscard]] std::int32_t policyTypeForString(std::string_view text);
// The operations whose letter occurs in the text.
[[nodiscard]] std::uint32_t operationsForString(std::string_view text);
// The flags whose letter occurs in the text.
[[nodiscard]] std::uint32_t flagsForString(std::string_view text);

// Letters in the order above; bits without a letter are left out.
[[nodiscard]] std::string operationsForInteger(std::uint32_t operations);
[[nodiscard]] std::string operationsForRule(const Rule& rule);
[[nodiscard]] std::string flagsForInteger(std::uint32_t flags);
// Only the flag of this kind of rule.
[[nodiscard]] std::string flagsForPolicyRule(const PolicyRule& rule);
[[nodiscard]] std::string flagsForWatchRule(const WatchRule& rule);

}
