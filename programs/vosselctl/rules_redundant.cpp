#include "programs/vosselctl/rules_commands.h"
#include "rules/redundancy.h"

#include <memory>

namespace vossel {

namespace {

struct Options {
    std::string file;
    bool json = false;
    bool pretty = false;
};

Result<bool> showRedundant(const Options& options, const std::string& prefix)
{
    const auto store = loadRules({options.file}, ReadAs::UserRules, prefix);
    if (!store)
        return Failure{store.reason()};
    const auto& rules = (*store)->policyRules();
    const auto covering = coveringRules(rules);
    Output output;
    for (std::size_t i = 0; i < rules.size(); ++i) {
        if (!covering[i])
            continue;
        if (options.json)
            output.add(Json{{"rule", ruleJson(*rules[i])}, {"by", ruleJson(*covering[i])}},
                options.pretty);
        else
            output.add(harmless(ruleLine(*rules[i])).bytes + "\n  is covered by "
                + harmless(ruleLine(*covering[i])).bytes + '\n');
    }
    return output.finish();
}

}

void addRulesRedundant(CLI::App& rules, CommandLine& line)
{
    const auto options = std::make_shared<Options>();
    auto* redundant = rules.add_subcommand(
        "redundant", "Show the rules for which another one of the same program does as much");
    redundant->add_option("FILE", options->file, "The rules file")->required();
    auto* json = redundant->add_flag("--json", options->json, "One object a line");
    redundant->add_flag("--pretty", options->pretty, "JSON in several lines, indented")
        ->needs(json);
    redundant->callback([options, &line] {
        line.chosen = [options, &line] { return showRedundant(*options, line.prefix); };
    });
}

}
