#include "foundation/utf8.h"
#include "hosts/linux/accounts.h"
#include "hosts/linux/installers.h"
#include "hosts/linux/processes.h"
#include "programs/vosselctl/command.h"
#include "prompting/alert_message.h"
#include "prompting/path_hierarchy.h"
#include "prompting/process_menu.h"
#include "prompting/signing_text.h"
#include "user/user_checks.h"

#include <cstring>
#include <memory>

namespace vossel {

namespace {

struct Options {
    std::string file;
    std::string home;
    bool homeGiven = false;
    bool admin = false;
    bool noAdmin = false;
    bool simple = false;
    bool advanced = false; // the default, so nobody reads it
    bool pretty = false;
};

// What the answer depends on besides the query itself.
struct Viewer {
    std::string home;
    bool isAdmin = false;
    bool simpleMode = false;
};

Viewer viewerOf(const Options& options)
{
    const LinuxAccounts accounts;
    Viewer viewer{options.home, options.admin, options.simple};
    if (!options.homeGiven)
        viewer.home = accounts.homeDirectory();
    while (viewer.home.ends_with('/'))
        viewer.home.pop_back();
    if (!options.admin && !options.noAdmin)
        viewer.isAdmin = isAdministrator(accounts);
    return viewer;
}

Result<policy_query> readQuery(const std::string& file)
{
    const auto bytes = readInput(file);
    if (!bytes)
        return Failure{bytes.reason()};
    policy_query query;
    if (bytes->size() != sizeof query && bytes->size() != sizeof(policy_query_message))
        return wrongSize(file, bytes->size(), "a query has 3356, a message 3384");
    // The record stands at the end of a message.
    std::memcpy(&query, bytes->data() + bytes->size() - sizeof query, sizeof query);
    return query;
}

Json processesJson(const ProcessMenu& menu)
{
    auto items = Json::array();
    for (std::size_t i = 0; i < menu.items.size(); ++i) {
        auto& item = items.emplace_back(
            Json{{"title", toValidUtf8(menu.items[i].title)}, {"tag", menu.items[i].tag}});
        const auto ancestor = menu.ancestors.find(static_cast<std::int64_t>(i));
        if (ancestor != menu.ancestors.end())
            item["path"] = toValidUtf8(ancestor->second);
    }
    return items;
}

Json queryJson(const policy_query& query, const Viewer& viewer, const Directories& directories)
{
    const auto paths = constructPathHierarchy(query, {viewer.home, viewer.isAdmin, false});
    auto choices = Json::array();
    for (const auto& choice : paths.choices)
        choices.push_back(toValidUtf8(choice));
    const auto menu = buildProcessMenu(query, LinuxProcesses(), LinuxInstallers());
    const auto signing = checkCodesign(query);
    // The sentence may rewrite the path of its copy.
    auto copy = query;
    const auto alert = buildAlertMessage(copy, {viewer.simpleMode, viewer.home, directories});
    return Json{
        {"pid", query.pid},
        {"ppid", query.ppid},
        {"flags", query.flags},
        {"operation", query.operation},
        {"constraint_type", query.constraint_type},
        {"security_token", query.security_token},
        {"process_name", toValidUtf8(textOf(query.process_name))},
        {"parent_name", toValidUtf8(textOf(query.parent_name))},
        {"teamid", toValidUtf8(textOf(query.cs_info.teamid))},
        {"identity", toValidUtf8(textOf(query.cs_info.identity))},
        {"queryPath", toValidUtf8(textOf(query.path))},
        {"appPath", toValidUtf8(manicureAppPathForQuery(query))},
        {"displayName", toValidUtf8(manicureDisplayPathForQuery(query))},
        {"message", toValidUtf8(alert.sentence)},
        {"alertType", alert.alertType},
        {"path", toValidUtf8(textOf(copy.path))},
        {"paths", std::move(choices)},
        {"recommendedPathIndex", paths.recommendedPathIndex},
        {"processes", processesJson(menu)},
        {"recommendedProcessIndex", menu.recommendedIndex},
        {"isInstaller", menu.isInstaller},
        {"codeSignText", toValidUtf8(signing.text)},
        {"codeSignState", signing.codeSignState},
    };
}

Result<bool> showQuery(const Options& options, const std::string& prefix)
{
    const auto query = readQuery(options.file);
    if (!query)
        return Failure{query.reason()};
    return writeJson(queryJson(*query, viewerOf(options), Directories(prefix)), options.pretty);
}

}

void addQueryShow(CLI::App& query, CommandLine& line)
{
    const auto options = std::make_shared<Options>();
    auto* show = query.add_subcommand("show",
        "Print a query of 3356 bytes, or a message of 3384, as JSON with what a prompt says");
    show->add_option("FILE", options->file, "The query; - is standard input")->required();
    auto* home = show->add_option("--home", options->home, "The user's home (default: yours)");
    auto* admin = show->add_flag("--admin", options->admin, "The user is an administrator");
    show->add_flag("--no-admin", options->noAdmin, "The user is none (default: as you are)")
        ->excludes(admin);
    auto* simple = show->add_flag("--simple", options->simple, "As the simple prompt says it");
    show->add_flag("--advanced", options->advanced, "As the advanced prompt says it (default)")
        ->excludes(simple);
    show->add_flag("--pretty", options->pretty, "Several lines, indented");
    show->callback([options, home, &line] {
        options->homeGiven = home->count() > 0;
        line.chosen = [options, &line] { return showQuery(*options, line.prefix); };
    });
}

}
