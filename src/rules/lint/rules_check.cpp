#include "rules/lint/rules_check.h"

#include "foundation/files.h"
#include "foundation/path_text.h"
#include "foundation/utf8.h"
#include "rules/equal_rules.h"
#include "rules/lint/checked_line.h"
#include "rules/redundancy.h"
#include "rules/rule_hash.h"
#include "rules/rules_scanner.h"
#include "rules/text_pool.h"
#include "settings/directories.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <system_error>
#include <tuple>
#include <utility>

namespace vossel {

namespace {

constexpr std::size_t maxBytes = std::size_t{4} << 30U; // as much as the reader takes

bool areEqual(const PolicyRule& a, const PolicyRule& b)
{
    return a.isEqualToPolicyRule(b);
}

bool areEqual(const WatchRule& a, const WatchRule& b)
{
    return a.isEqualToWatchRule(b);
}

// Compares the rules of one file with each other. A rule's sequence is the line where it stands.
class RuleComparison {
public:
    RuleComparison(const RulesKind& kind, std::vector<Finding>& findings)
        : kind_(kind)
        , findings_(findings)
    {
    }

    void add(const CheckedLine& line)
    {
        Application application;
        application.processName = texts_.shared(arena_, line.fields.at[3]);
        if (line.statement == StatementKind::Watch)
            add(watchRuleOf(line.fields, kind_, application, texts_, arena_), watchRules_, watches_,
                line);
        if (line.statement != StatementKind::Policy)
            return;
        application.constraint = texts_.shared(arena_, line.fields.at[6]);
        if (add(policyRuleOf(line.fields, kind_, application, texts_, arena_), policyRules_,
                policies_, line))
            columns_.push_back(line.column);
    }

    void findRedundantRules()
    {
        std::vector<const PolicyRule*> rules;
        rules.reserve(policies_.size());
        rules.assign(policies_.begin(), policies_.end());
        const auto covering = coveringRules(rules);
        for (std::size_t i = 0; i < rules.size(); ++i) {
            if (!covering[i])
                continue;
            std::string message = "another rule of the same class and program covers its path and "
                                  "its operations";
            if (covers(*rules[i], *covering[i]))
                message += ", and is covered by this one: keep one of the two";
            findings_.push_back({lineOf(*rules[i]), columns_[i], FindingCode::Redundant,
                std::move(message), lineOf(*covering[i])});
        }
    }

private:
    static std::size_t lineOf(const Rule& rule)
    {
        return static_cast<std::size_t>(rule.sequence());
    }

    // Whether it is new, and kept.
    template <class RuleType>
    bool add(RuleType& rule, EqualRules<RuleType>& distinct, std::vector<RuleType*>& kept,
        const CheckedLine& line)
    {
        rule.setSequence(static_cast<std::int64_t>(line.number));
        const auto hash = ruleHash(rule);
        const auto* first
            = distinct.find(hash, [&rule](const RuleType& other) { return areEqual(other, rule); });
        if (!first) {
            distinct.insert(hash, rule);
            kept.push_back(&rule);
            return true;
        }
        std::string message = "the same rule stands further up";
        if (first->tag() != rule.tag())
            message += " (with another tag, which makes no difference)";
        message += "; this one is dropped when the file is read";
        findings_.push_back(
            {line.number, line.column, FindingCode::Duplicate, std::move(message), lineOf(*first)});
        return false;
    }

    const RulesKind& kind_;
    std::vector<Finding>& findings_;
    Arena arena_;
    TextPool texts_;
    std::vector<PolicyRule*> policies_;
    std::vector<WatchRule*> watches_;
    std::vector<std::size_t> columns_; // of the policy rules
    EqualRules<PolicyRule> policyRules_;
    EqualRules<WatchRule> watchRules_;
};

// At the end of this text, which is valid UTF-8.
Finding findingBehind(std::string_view text, FindingCode code, std::string message)
{
    Finding finding{0, 1, code, std::move(message)};
    std::string_view line;
    for (RuleLines lines(text); lines.next(line);)
        ++finding.line;
    finding.column = charactersIn(line) + 1;
    return finding;
}

bool hasOtherBreaks(std::string_view content)
{
    auto lineFeeds = std::count(content.begin(), content.end(), '\n');
    std::string_view line;
    for (RuleLines lines(content); lines.next(line);)
        --lineFeeds;
    return lineFeeds != -1; // what follows the last break is a line, too
}

std::size_t validPart(std::string_view content)
{
    std::size_t at = 0;
    while (const auto character = firstCharacter(content.substr(at)))
        at += character->length;
    return at;
}

Finding notUtf8(std::string_view content)
{
    const auto at = validPart(content);
    constexpr std::string_view digits = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(content[at]);
    return findingBehind(content.substr(0, at), FindingCode::NotUtf8,
        std::string("the byte 0x") + digits[byte / 16] + digits[byte % 16]
            + " is not UTF-8 here: no rule of this file counts until the file is UTF-8 throughout");
}

// Whether it is named like a file in which "set" is a statement.
bool isNamedLikeMainSystemRules(const std::string& path)
{
    const Directories directories;
    const auto name = lastPathComponent(path);
    return name.starts_with(lastPathComponent(directories.systemRules()))
        || name.starts_with(lastPathComponent(directories.paranoidSystemRules()));
}

}

std::string_view nameOf(FindingCode code)
{
    constexpr std::array<std::string_view, 13> names = {"ignored", "unterminated-quote",
        "tab-separator", "unknown-class", "unknown-type", "no-operations", "set-in-user-file",
        "duplicate", "redundant", "not-utf8", "nul", "symlink", "indented-comment"};
    return names.at(static_cast<std::size_t>(code));
}

std::vector<Finding> checkRules(std::string_view content, const RulesKind& kind)
{
    const auto read = content.substr(0, content.find('\0'));
    if (!isValidUtf8(read))
        return {notUtf8(read)};
    std::vector<Finding> findings;
    RuleComparison comparison(kind, findings);
    std::size_t number = 0;
    std::string_view text;
    for (RuleLines lines(read); lines.next(text);)
        comparison.add(checkLine(text, ++number, kind, findings));
    comparison.findRedundantRules();
    if (read.size() < content.size())
        findings.push_back(findingBehind(read, FindingCode::Nul,
            "the file is read up to this NUL byte only: it and all that follows, "
                + std::to_string(content.size() - read.size()) + " bytes in all, are lost"));
    std::stable_sort(findings.begin(), findings.end(), [](const Finding& a, const Finding& b) {
        return std::tie(a.line, a.column) < std::tie(b.line, b.column);
    });
    return findings;
}

Result<CheckedFile> checkRulesFile(const std::string& path, bool system)
{
    const auto file = openRefusingLink(path);
    if (file.error == ELOOP)
        return CheckedFile{{{1, 1, FindingCode::Symlink,
            "the file is a symbolic link, which is refused: nothing is read from it; put the file "
            "itself here"}}};
    if (!file.fd)
        return Failure{path + ": " + errorText(file.error)};
    std::error_code ignored;
    if (std::filesystem::is_other(path, ignored))
        return Failure{path + " is a pipe or a device; rules are read from regular files only"};
    const auto content = readDescriptor(file.fd.get(), maxBytes, path);
    if (!content)
        return Failure{content.reason()};
    return CheckedFile{checkRules(*content, {system, system && isNamedLikeMainSystemRules(path)}),
        hasOtherBreaks(*content)};
}

}
