#include "foundation/glyph_elision.h"
#include "foundation/utf8.h"
#include "programs/vosselctl/rules_commands.h"
#include "wire/driver_messages.h"

#include <algorithm>

namespace vossel {

// Scripts see one numbering, whether an operation stands in a rule or in a driver's message.
static_assert(std::uint32_t{RULE_OPERATION_READ} == OPERATION_READ
    && std::uint32_t{RULE_OPERATION_WRITE} == OPERATION_WRITE
    && std::uint32_t{RULE_OPERATION_CREATE} == OPERATION_CREATE
    && std::uint32_t{RULE_OPERATION_MOUNT} == OPERATION_MOUNT
    && std::uint32_t{RULE_OPERATION_EXECUTE} == OPERATION_EXECUTE);

namespace {

// Most texts are valid, which is quickly seen.
std::string validText(std::string_view text)
{
    return isValidUtf8(text) ? std::string(text) : toValidUtf8(text);
}

}

Json ruleJson(const Rule& rule)
{
    const auto* policy = dynamic_cast<const PolicyRule*>(&rule);
    Json json{
        {"kind", policy ? "policy" : "watch"},
        {"class", PolicyRule::policyClassDescription(rule.getPolicyClass())},
        {"type", PolicyRule::policyTypeDescription(rule.policyType())},
        {"path", validText(rule.path())},
        {"process", validText(rule.processName())},
        {"operations", operationsForRule(rule)},
        {"flags", flagsForInteger(rule.flags())},
        {"tag", validText(rule.tag())},
    };
    if (policy) {
        json["constraint"] = validText(policy->constraint());
        json["created"] = policy->created();
    }
    json["sequence"] = rule.sequence();
    json["system"] = rule.system();
    if (policy)
        json["group"] = validText(applicationGroupIdentityForRule(*policy));
    json["state"] = rule.getRuleState();
    json["name"] = validText(rule.getProcessShortName());
    return json;
}

std::string ruleLine(const Rule& rule)
{
    std::string line;
    if (const auto* watch = dynamic_cast<const WatchRule*>(&rule))
        appendRuleLine(line, *watch);
    else if (const auto* policy = dynamic_cast<const PolicyRule*>(&rule))
        appendRuleLine(line, *policy);
    return line.substr(0, line.rfind('\n'));
}

HarmlessText harmless(std::string_view text)
{
    const auto isPrintable = [](char byte) { return byte >= ' ' && byte <= '~'; };
    if (std::all_of(text.begin(), text.end(), isPrintable))
        return {std::string(text), text.size()};
    const Glyphs glyphs = toGlyphs(text, Charset::Utf8);
    return {joined(glyphs), columnsOf(glyphs)};
}

void Output::add(const Json& document, bool pretty)
{
    add(document.dump(pretty ? 2 : -1) + '\n');
}

void Output::flush()
{
    if (written_ && !pending_.empty())
        written_ = writeOutput(pending_);
    pending_.clear();
}

Result<bool> Output::finish()
{
    flush();
    return written_;
}

}
