#include "programs/driver_options.h"

#include <CLI/CLI.hpp>

namespace vossel {

Result<std::optional<DriverOptions>> readDriverOptions(int argc, char** argv)
{
    CLI::App app("The Vossel driver: asks an agent about file accesses.", "VosselDriver");
    DriverOptions options;
    bool inactive = false;
    double timeout = options.answerLimit.count();
    std::string byDefault = "allow";

    app.set_version_flag("--version", VOSSEL_VERSION);
    app.add_option("--prefix", options.prefix, "Move every path of the product below this folder")
        ->envname("VOSSEL_PREFIX");
    auto* watch = app.add_option(
        "--watch", options.folders, "Guard the file systems mounted at these folders; needs root");
    auto* replay = app.add_option("--replay", options.messages,
        "Send the messages in this file to an agent and print its answers");
    watch->excludes(replay);
    app.add_flag("--all-at-once", options.allAtOnce, "Do not wait for one answer after another")
        ->needs(replay);
    app.add_flag("--inactive", inactive, "Say that filtering is off")->needs(replay);
    app.add_option("--timeout", timeout, "Seconds to wait for each answer")
        ->needs(replay)
        ->check(CLI::Range(0.001, 86400.0));
    app.add_option("--default", byDefault, "What happens where nobody can be asked")
        ->needs(watch)
        ->check(CLI::IsMember({"allow", "deny"}));
    app.add_option("--user", options.user, "Whose agent is asked about every user's processes")
        ->needs(watch);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            app.exit(error);
            return std::optional<DriverOptions>();
        }
        const std::string reason = error.what();
        return Failure{reason.substr(0, reason.find('\n'))};
    }
    if (options.folders.empty() && options.messages.empty())
        return Failure{"VosselDriver needs --watch DIR or --replay FILE; --help tells more"};
    while (options.prefix.ends_with('/'))
        options.prefix.pop_back();
    options.filtering = !inactive;
    options.answerLimit = std::chrono::duration<double>(timeout);
    options.allowByDefault = byDefault == "allow";
    return std::optional(options);
}

}
