#include "prompting/path_hierarchy.h"

#include "foundation/log.h"
#include "foundation/path_text.h"
#include "prompting/program_name.h"
#include "wire/pseudo_paths.h"

#include <algorithm>

namespace vossel {

namespace {

std::string choice(std::string_view label, std::string_view path)
{
    std::string text;
    text.reserve(label.size() + path.size());
    return text.append(label).append(path);
}

std::int64_t lastIndex(const PathHierarchy& hierarchy)
{
    return static_cast<std::int64_t>(hierarchy.choices.size()) - 1;
}

// A folder that is offered, with the names that say what kind it is.
struct Folder {
    std::string_view path; // ends in "/"
    std::string_view name;
    std::string_view parent;
    std::string_view grandparent;
};

bool holdsApplicationData(const Folder& folder)
{
    if (folder.grandparent == "Library"
        && (folder.parent == "Application Support" || folder.parent == "Group Containers"
            || folder.parent == "Containers"))
        return true;
    return (folder.parent == "Pictures" && folder.path.ends_with(".photoslibrary/"))
        || folder.parent == "Volumes" || folder.path.ends_with(".sparsebundle/");
}

// Weaker marks: they count only while nothing further in was recommended.
bool belongsToSystemService(const Folder& folder)
{
    return (folder.parent == "Components" && folder.name == "AppleScript.component")
        || folder.name == "AppleCamera.plugin" || folder.name == "VDC.plugin"
        || folder.parent == "Library";
}

// Offers the folders from the innermost outward. A later recommendation replaces an earlier one.
// `only` is the choice of the exact path, empty where it is not offered.
void appendFolders(PathHierarchy& hierarchy, std::string_view path, std::string_view only)
{
    // The names of the whole path, split once: those of each folder are the ones before its slash.
    auto names = pathComponents(path);
    if (names.size() > 1 && path.ends_with('/'))
        names.pop_back();
    bool innermost = true;
    for (auto slash = path.rfind('/'); slash != std::string_view::npos;
         slash = slash > 0 ? path.rfind('/', slash - 1) : std::string_view::npos) {
        const auto folder = path.substr(0, slash + 1);
        if (innermost && !only.empty() && only.substr(5) != folder)
            hierarchy.choices.push_back(choice("Only ", folder));
        innermost = false;
        hierarchy.choices.push_back(folder == "/" ? "Any Files" : choice("In ", folder));

        while (!names.empty() && names.back().data() >= path.data() + slash)
            names.pop_back();
        if (names.size() < 3)
            continue;
        const auto inner = names.rbegin();
        const Folder candidate{folder, inner[0], inner[1], inner[2]};
        if (holdsApplicationData(candidate)
            || (hierarchy.recommendedPathIndex == -1 && belongsToSystemService(candidate))
            || candidate.name.ends_with(".app"))
            hierarchy.recommendedPathIndex = lastIndex(hierarchy);
    }
}

// Counts on both exact choices being there; the caller brings the index back into the list.
std::int64_t fallbackIndex(std::string_view path, std::string_view home, bool hasExtension)
{
    const std::int64_t exactPath = hasExtension ? 1 : 0;
    if (parentPath(path) != home)
        return exactPath + 2;
    return path.ends_with('/') ? exactPath + 1 : exactPath;
}

void logChoices(const PathHierarchy& hierarchy)
{
    if (!logListening())
        return;
    std::string all;
    for (const auto& entry : hierarchy.choices)
        all.append(all.empty() ? "" : ", ").append(entry);
    logText("paths: %@", all);
}

}

PathHierarchy constructPathHierarchy(const policy_query& query, const PathHierarchyFacts& facts)
{
    const auto path = textOf(query.path);
    logText("pathString: %@", path);
    logText("query Path: %@", path);

    PathHierarchy hierarchy;
    auto& choices = hierarchy.choices;
    auto& recommended = hierarchy.recommendedPathIndex;
    // The extension, two exact paths and each folder.
    choices.reserve(3 + static_cast<std::size_t>(std::count(path.begin(), path.end(), '/')));
    const auto extension = pathExtension(path);
    if (!extension.empty())
        choices.push_back(choice("File Extension .", extension));

    const bool isMount = query.operation == OPERATION_MOUNT;
    std::string only;
    if (!path.ends_with('/') || isMount || (facts.userIsAdmin && !facts.simpleModeOverride)) {
        only = choice("Only ", path);
        choices.push_back(only);
    }

    const bool isModule = path.starts_with(kernelModulePaths);
    if (isModule || path.starts_with(kernelServicePaths) || path.starts_with(attachedProcessPaths))
        recommended = lastIndex(hierarchy);
    if (isModule)
        return hierarchy;
    if (isPacketCaptureDevice(path)) {
        choices.push_back(choice("In ", packetCaptureDevices));
        recommended = lastIndex(hierarchy);
        return hierarchy;
    }

    if (!isMount)
        appendFolders(hierarchy, path, only);
    if (recommended == -1)
        recommended = fallbackIndex(path, facts.homeDirectory, !extension.empty());
    if (isMount)
        recommended = 0;
    // The last index is -1 for an empty list.
    recommended = std::min(recommended, lastIndex(hierarchy));
    logChoices(hierarchy);
    return hierarchy;
}

std::string manicureAppPathForQuery(const policy_query& query)
{
    const auto path = textOf(query.process_name);
    return std::string(path.substr(0, path.find(" (-")));
}

std::string manicureDisplayPathForQuery(const policy_query& query)
{
    const auto name = programName(textOf(query.process_name));
    const auto parent = textOf(query.parent_name);
    if (parent.empty())
        return std::string(name);
    return formatText("%@ via %@", {name, lastPathComponent(parent)});
}

}
