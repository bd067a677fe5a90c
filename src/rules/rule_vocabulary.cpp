#include "rules/rule_vocabulary.h"

#include "rules/policy_rule.h"
#include "rules/watch_rule.h"

#include <array>

namespace vossel {

namespace {

struct Letter {
    char letter;
    std::uint32_t bit;
};

constexpr std::array operationLetters = {
    Letter{'r', RULE_OPERATION_READ},
    Letter{'w', RULE_OPERATION_WRITE},
    Letter{'c', RULE_OPERATION_CREATE},
    Letter{'m', RULE_OPERATION_MOUNT},
    Letter{'x', RULE_OPERATION_EXECUTE},
};

constexpr std::array flagLetters = {Letter{'u', RULE_FLAG_POLICY}, Letter{'s', RULE_FLAG_WATCH}};

template <std::size_t N>
std::uint32_t bitsOf(std::string_view text, const std::array<Letter, N>& letters)
{
    std::uint32_t bits = 0;
    for (const char c : text)
        for (const auto& [letter, bit] : letters)
            bits |= c == letter ? bit : 0;
    return bits;
}

template <std::size_t N>
std::string lettersOf(std::uint32_t bits, const std::array<Letter, N>& letters)
{
    std::string text;
    for (const auto& [letter, bit] : letters)
        if (bits & bit)
            text += letter;
    return text;
}

}

std::int32_t policyClassForString(std::string_view text)
{
    if (text == "allow")
        return POLICY_CLASS_ALLOW;
    return text == "deny" ? POLICY_CLASS_DENY : POLICY_CLASS_UNKNOWN;
}

std::int32_t policyTypeForString(std::string_view text)
{
    if (text == "prefix")
        return POLICY_TYPE_PREFIX;
    if (text == "path")
        return POLICY_TYPE_PATH;
    return text == "suffix" ? POLICY_TYPE_SUFFIX : POLICY_TYPE_UNKNOWN;
}

std::uint32_t operationsForString(std::string_view text)
{
    return bitsOf(text, operationLetters);
}

std::uint32_t flagsForString(std::string_view text)
{
    return bitsOf(text, flagLetters);
}

std::string operationsForInteger(std::uint32_t operations)
{
    return lettersOf(operations, operationLetters);
}

std::string operationsForRule(const Rule& rule)
{
    return operationsForInteger(rule.operations());
}

std::string flagsForInteger(std::uint32_t flags)
{
    return lettersOf(flags, flagLetters);
}

std::string flagsForPolicyRule(const PolicyRule& rule)
{
    return flagsForInteger(rule.flags() & RULE_FLAG_POLICY);
}

std::string flagsForWatchRule(const WatchRule& rule)
{
    return flagsForInteger(rule.flags() & RULE_FLAG_WATCH);
}

}
