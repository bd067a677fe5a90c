#include "programs/vosselctl/rules_commands.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <system_error>

namespace vossel {

namespace {

struct Options {
    std::vector<std::string> files;
    std::string output; // empty: standard output
};

Result<bool> printRules(const RuleManager& rules)
{
    Output output;
    for (const auto* rule : rules.watchRules())
        output.addRule(*rule);
    const auto& policies = rules.policyRules();
    for (std::size_t i = 0; i < policies.size(); ++i) {
        expectAfter(policies, i);
        output.addRule(*policies[i]);
    }
    return output.finish();
}

// Whether writing there would lose what a NUL kept from being read.
bool wouldCutShort(const Options& options, const RuleManager& rules)
{
    return std::any_of(options.files.begin(), options.files.end(), [&](const std::string& file) {
        std::error_code ignored;
        return rules.readOutcome(file) == ReadOutcome::CutByNul
            && std::filesystem::equivalent(file, options.output, ignored);
    });
}

Result<bool> writeRules(const Options& options, ReadAs as, const std::string& prefix)
{
    const auto rules = loadRules(options.files, as, prefix);
    if (!rules)
        return Failure{rules.reason()};
    auto& store = **rules;
    if (options.output.empty())
        return printRules(store);
    if (wouldCutShort(options, store))
        return Failure{
            options.output + " is not replaced: what stands behind its NUL byte would be lost"};
    // A rule that could not be written leaves its message although the file was opened.
    if (!store.writeToFile(options.output) || store.lastErrorMessage())
        return Failure{store.lastErrorMessage().value_or(options.output + " cannot be written")};
    return true;
}

void addWriter(
    CLI::App& command, const std::shared_ptr<Options>& options, ReadAs as, CommandLine& line)
{
    command.add_option("-o,--output", options->output, "Write to this file, mode 0640");
    command.callback([options, as, &line] {
        line.chosen = [options, as, &line] { return writeRules(*options, as, line.prefix); };
    });
}

}

void addRulesFormat(CLI::App& rules, CommandLine& line)
{
    const auto format = std::make_shared<Options>();
    auto* formatCommand = rules.add_subcommand("format",
        "Write a rules file as the agent writes it: watch rules, then program by program; "
        "comments and what is no rule are left out");
    formatCommand->add_option("FILE", format->files, "The rules file")->required()->expected(1);
    addWriter(*formatCommand, format, ReadAs::UserRules, line);

    const auto merge = std::make_shared<Options>();
    auto* mergeCommand = rules.add_subcommand(
        "merge", "Put logs of fail-safe mode together, with one rule for the files of a folder");
    mergeCommand->add_option("FILE", merge->files, "Rules files, read one after the other")
        ->required();
    addWriter(*mergeCommand, merge, ReadAs::FailsafeRules, line);
}

}
