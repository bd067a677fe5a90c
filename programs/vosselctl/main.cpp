#include "programs/vosselctl/rules_commands.h"

#include <cstdio>
#include <exception>
#include <filesystem>

namespace {

constexpr int exitNo = 1;
constexpr int exitFailed = 2;

int refuse(const std::string& sentence)
{
    std::fprintf(stderr, "vosselctl: %s\n", vossel::harmless(sentence).bytes.c_str());
    return exitFailed;
}

int run(int argc, char** argv)
{
    vossel::CommandLine line;
    CLI::App app("Looks inside rules files and the records that the agent and the driver exchange.",
        "vosselctl");
    app.set_version_flag("--version", VOSSEL_VERSION);
    app.add_option("--prefix", line.prefix, "Folder below which the product's files lie")
        ->envname("VOSSEL_PREFIX");
    app.require_subcommand(1);
    app.fallthrough(); // --prefix counts behind a command, too
    auto* query = app.add_subcommand("query", "What a driver asks")->require_subcommand(1);
    addQueryShow(*query, line);
    addQueryMake(*query, line);
    auto* response = app.add_subcommand("response", "What is answered")->require_subcommand(1);
    addResponseShow(*response, line);
    auto* rules = app.add_subcommand("rules", "Rules files")->require_subcommand(1);
    addRulesList(*rules, line);
    addRulesCheck(*rules, line);
    addRulesRedundant(*rules, line);
    addRulesFormat(*rules, line);
    addRulesWords(*rules, line);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        // Help and version arrive here as well, with status 0.
        return error.get_exit_code() == 0 ? app.exit(error) : refuse(error.what());
    }
    // Paths are compared with what lies below it, and those are absolute.
    if (!line.prefix.empty())
        line.prefix = std::filesystem::absolute(line.prefix).lexically_normal();
    const auto done = line.chosen();
    if (!done)
        return refuse(done.reason());
    return *done ? 0 : exitNo;
}

}

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        return refuse(error.what());
    }
}
