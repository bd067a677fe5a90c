#pragma once

#include "programs/vosselctl/command.h"
#include "rules/rules_file_writer.h"
#include "rules/store/rule_manager.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vossel {

// Each adds its subcommands of "rules".
void addRulesList(CLI::App& rules, CommandLine& line);
void addRulesCheck(CLI::App& rules, CommandLine& line);
void addRulesRedundant(CLI::App& rules, CommandLine& line);
void addRulesFormat(CLI::App& rules, CommandLine& line); // and merge
void addRulesWords(CLI::App& rules, CommandLine& line); // scan and identity

enum class ReadAs : std::uint8_t { UserRules, SystemRules, FailsafeRules };

// The files in one store, in their order; each must be there, a regular file and UTF-8. Warns on
// standard error of one that is cut by a NUL.
[[nodiscard]] Result<std::unique_ptr<RuleManager>> loadRules(
    const std::vector<std::string>& files, ReadAs as, const std::string& prefix);

// A rule's fields as scripts see them.
[[nodiscard]] Json ruleJson(const Rule& rule);
// The line of a rules file that says the same, without its line break.
[[nodiscard]] std::string ruleLine(const Rule& rule);

// What may go to a terminal of a text from anywhere: nothing in it steers the terminal, reorders
// its surroundings or begins a line.
struct HarmlessText {
    std::string bytes;
    std::size_t columns = 0;
};
[[nodiscard]] HarmlessText harmless(std::string_view text);

// Standard output in large pieces. What fails is known at the end.
class Output {
public:
    void add(std::string_view bytes)
    {
        pending_ += bytes;
        if (pending_.size() >= pieceSize)
            flush();
    }
    // As its line of a rules file.
    template <class RuleType>
    void addRule(const RuleType& rule)
    {
        appendRuleLine(pending_, rule);
        add(std::string_view());
    }
    // On a line of its own, or several.
    void add(const Json& document, bool pretty);
    void flush();
    // After all has been added: whether it has arrived.
    [[nodiscard]] Result<bool> finish();

private:
    static constexpr std::size_t pieceSize = std::size_t{256} * 1024;

    std::string pending_;
    Result<bool> written_ = true;
};

}
