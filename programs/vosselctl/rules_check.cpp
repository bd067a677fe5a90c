#include "rules/lint/rules_check.h"

#include "programs/vosselctl/rules_commands.h"

#include <cstdio>
#include <memory>

namespace vossel {

namespace {

struct Options {
    std::string file;
    bool system = false;
    bool json = false;
    bool pretty = false;
};

Json findingJson(const Finding& finding)
{
    Json json{
        {"line", finding.line},
        {"column", finding.column},
        {"code", nameOf(finding.code)},
        {"message", finding.message},
    };
    if (finding.by)
        json["by"] = *finding.by;
    return json;
}

std::string findingLine(std::string_view file, const Finding& finding)
{
    auto text = std::string(file) + ':' + std::to_string(finding.line) + ':'
        + std::to_string(finding.column) + ": " + std::string(nameOf(finding.code)) + ": "
        + harmless(finding.message).bytes;
    if (finding.by)
        text += " (see line " + std::to_string(*finding.by) + ')';
    return text + '\n';
}

Result<bool> checkFile(const Options& options)
{
    const auto checked = checkRulesFile(options.file, options.system);
    if (!checked)
        return Failure{checked.reason()};
    const auto file = harmless(options.file).bytes;
    Output output;
    for (const auto& finding : checked->findings) {
        if (options.json)
            output.add(findingJson(finding), options.pretty);
        else
            output.add(findingLine(file, finding));
    }
    const auto written = output.finish();
    if (!written)
        return Failure{written.reason()};
    if (checked->hasOtherBreaks && !checked->findings.empty())
        std::fprintf(stderr,
            "vosselctl: %s has other line breaks than the line feed; each counts as a line of its "
            "own, in a CR LF both\n",
            file.c_str());
    return checked->findings.empty();
}

}

void addRulesCheck(CLI::App& rules, CommandLine& line)
{
    const auto options = std::make_shared<Options>();
    auto* check = rules.add_subcommand("check",
        "Say which lines of a rules file mean nothing, or something else than they seem to; "
        "exit status 1 when there are any");
    check->add_option("FILE", options->file, "The rules file")->required();
    check->add_flag("--system", options->system, "Read it as system rules (flags, no tags)");
    auto* json = check->add_flag("--json", options->json, "One object a line");
    check->add_flag("--pretty", options->pretty, "JSON in several lines, indented")->needs(json);
    check->callback([options, &line] { line.chosen = [options] { return checkFile(*options); }; });
}

}
