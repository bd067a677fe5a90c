#include "prompting/process_menu.h"

#include "foundation/path_text.h"
#include "foundation/text_format.h"
#include "prompting/program_name.h"

#include <algorithm>
#include <utility>

namespace vossel {

namespace {

constexpr int maxAncestors = 10;

// The system's own services act for whoever started them, so that alone they are no useful scope.
bool isSystemProgram(std::string_view executable)
{
    static constexpr std::string_view folders[]
        = {"/usr/libexec/", "/System/", "/usr/sbin/", "/sbin/"};
    return std::any_of(std::begin(folders), std::end(folders),
        [&](std::string_view folder) { return executable.starts_with(folder); });
}

// The index of the new item.
std::int64_t add(ProcessMenu& menu, std::string title, std::int32_t tag)
{
    menu.items.push_back({std::move(title), tag});
    return static_cast<std::int64_t>(menu.items.size()) - 1;
}

void addAncestors(ProcessMenu& menu, std::int32_t nearest, const Processes& processes,
    const Installers& installers)
{
    // The count also ends a walk through a table that changes meanwhile and shows a circle.
    auto pid = nearest;
    for (int count = 0; pid >= 2 && count < maxAncestors; ++count) {
        const auto id = static_cast<std::uint32_t>(pid);
        auto path = processes.executablePath(id);
        if (path.empty())
            return;
        const auto index = add(menu, formatText("any with ancestor %@", {lastPathComponent(path)}),
            PROCESS_ANY_WITH_ANCESTOR);
        if (installers.isInstallDaemon(path) && installers.runningInstaller() != 0) {
            menu.recommendedIndex = index;
            menu.isInstaller = true;
        }
        menu.ancestors.emplace(index, std::move(path));
        pid = processes.parentOf(id);
    }
}

}

ProcessMenu buildProcessMenu(
    const policy_query& query, const Processes& processes, const Installers& installers)
{
    const auto executable = textOf(query.process_name);
    const auto program = programName(executable);
    const auto parentPath = textOf(query.parent_name);
    const auto parent = lastPathComponent(parentPath);

    ProcessMenu menu;
    add(menu, {}, -1);
    add(menu, "any process", PROCESS_ANY);
    if (!isSystemProgram(executable) || parentPath.empty())
        menu.recommendedIndex = add(menu, std::string(program), PROCESS_PROGRAM);
    if (!parentPath.empty()) {
        menu.recommendedIndex
            = add(menu, formatText("%@ via %@", {program, parent}), PROCESS_PROGRAM_VIA_PARENT);
        add(menu, formatText("any process via %@", {parent}), PROCESS_ANY_VIA_PARENT);
    }

    const auto nearest
        = query.ppid != 0 ? query.ppid : processes.parentOf(static_cast<std::uint32_t>(query.pid));
    addAncestors(menu, nearest, processes, installers);
    return menu;
}

}
