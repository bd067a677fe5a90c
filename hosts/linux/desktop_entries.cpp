#include "hosts/linux/desktop_entries.h"

#include "foundation/path_text.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

namespace vossel {

namespace {

constexpr std::size_t maxEntrySize = 262'144; // translations take up to 100 KB
constexpr std::size_t maxScriptSize = 65'536;
constexpr std::size_t maxEntries = 4096;
constexpr std::size_t maxDataFolders = 32;
constexpr int maxDepth = 4;
constexpr std::string_view ending = ".desktop";

// Not PATH, which is the user's.
constexpr std::array<std::string_view, 9> programFolders = {"/usr/local/sbin/", "/usr/local/bin/",
    "/usr/sbin/", "/usr/bin/", "/sbin/", "/bin/", "/usr/local/games/", "/usr/games/", "/snap/bin/"};

// In a folder that all programs share, lying beside it makes no file a part of an application.
bool isShared(std::string_view folder)
{
    return std::any_of(programFolders.begin(), programFolders.end(),
        [folder](std::string_view shared) { return shared == std::string(folder) + "/"; });
}

// Whether a link's name says what it leads to. One that names something else leads to a launcher,
// which looks at the name that it was called by.
bool leadsToItself(std::string_view link, std::string_view file)
{
    const auto parts = pathComponents(file);
    return areKin(link, lastPathComponent(file))
        || std::find(parts.begin(), parts.end(), link) != parts.end();
}

std::string_view withoutEnding(std::string_view name)
{
    for (const std::string_view end : {".bin", "-bin"})
        if (name.size() > end.size() && name.ends_with(end))
            name.remove_suffix(end.size());
    return name;
}

// What the menus may call a program, the best name first: "python3.11", "python3", "python".
std::vector<std::string> namesOf(std::string_view executable)
{
    std::vector<std::string> names;
    const auto add = [&names](std::string_view name) {
        if (!name.empty() && (names.empty() || names.back() != name))
            names.emplace_back(name);
    };
    add(executable);
    const std::string_view base = withoutEnding(executable);
    add(base);
    const auto last = base.find_last_not_of("0123456789.") + 1;
    const auto dot = base.find('.', last);
    if (dot != std::string_view::npos && dot > last)
        add(base.substr(0, dot));
    const std::string_view bare = base.substr(0, last);
    add(bare.ends_with('-') && last < base.size() ? bare.substr(0, last - 1) : bare);
    return names;
}

// "org.example.Editor" is called "Editor".
std::string_view shortName(std::string_view id)
{
    const bool reversed = std::count(id.begin(), id.end(), '.') >= 2;
    return reversed ? id.substr(id.rfind('.') + 1) : id;
}

// What a script ends as, "exec /usr/lib/editor/editor "$@"": the word behind "exec".
std::string executedBy(std::string_view script)
{
    std::string found;
    while (!script.empty()) {
        const auto end = std::min(script.find('\n'), script.size());
        std::string_view line = script.substr(0, end);
        script.remove_prefix(std::min(end + 1, script.size()));
        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
        if (!line.starts_with("exec "))
            continue;
        const auto words = commandWords(line);
        std::size_t at = 1;
        if (words && words->size() > 3 && (*words)[1] == "-a")
            at = 3;
        if (words && words->size() > at)
            found = (*words)[at];
    }
    return found;
}

// The application that an executable in a package tree of its own belongs to.
std::string bundleOf(std::string_view file)
{
    for (const auto& [folder, kind] :
        {std::pair<std::string_view, std::string_view>("/var/lib/flatpak/app/", "flatpak/"),
            {"/snap/", "snap/"}, {"/var/lib/snapd/snap/", "snap/"}})
        if (file.starts_with(folder)) {
            const auto rest = file.substr(folder.size());
            return std::string(kind).append(rest.substr(0, rest.find('/')));
        }
    return {};
}

}

DesktopEntries::DesktopEntries(const SystemRoot& root, std::vector<std::string> dataFolders)
    : files_(root)
    , dataFolders_(std::move(dataFolders))
{
}

std::vector<std::string> DesktopEntries::systemFolders()
{
    std::vector<std::string> folders = {"/usr/local/share", "/usr/share",
        "/var/lib/flatpak/exports/share", "/var/lib/snapd/desktop"};
    // Nothing in this program writes the environment.
    const char* named = std::getenv("XDG_DATA_DIRS"); // NOLINT(concurrency-mt-unsafe)
    std::string_view left = named ? named : "";
    while (!left.empty() && folders.size() < maxDataFolders) {
        const auto end = std::min(left.find(':'), left.size());
        const std::string_view name = left.substr(0, end);
        const std::string folder(name.substr(0, name.find_last_not_of('/') + 1));
        left.remove_prefix(std::min(end + 1, left.size()));
        const bool known = std::find(folders.begin(), folders.end(), folder) != folders.end();
        if (!folder.empty() && !known && folder.find("/..") == std::string::npos)
            folders.push_back(folder);
    }
    return folders;
}

std::string DesktopEntries::iconOf(std::string_view program)
{
    const std::string file = files_.resolve(program);
    if (file.empty())
        return {};
    refresh();
    const std::string name(lastPathComponent(file));
    std::string icon = chosen(byFile_, file, name);
    const std::string folder = file.substr(0, file.size() - name.size());
    if (icon.empty() && withoutEnding(name) != name)
        icon = chosen(byFile_, folder + std::string(withoutEnding(name)), name);
    if (const std::string bundle = bundleOf(file); icon.empty() && !bundle.empty())
        return chosen(byBundle_, bundle, name); // its neighbours by name are other applications'
    if (icon.empty())
        for (const std::string& called : namesOf(name))
            if (icon = chosen(byName_, called, called); !icon.empty())
                break;
    return icon;
}

std::string DesktopEntries::chosen(
    const Claims& claims, const std::string& key, std::string_view name)
{
    const auto found = claims.find(key);
    if (found == claims.end())
        return {};
    const auto rank = [name](const Claim& claim) {
        const bool namesake = claim.name == name || shortName(claim.name) == name;
        return (claim.listed ? 0 : 4) + (claim.options ? 2 : 0) + (namesake ? 0 : 1);
    };
    const auto& all = found->second;
    const auto best = std::min_element(all.begin(), all.end(),
        [&rank](const Claim& left, const Claim& right) { return rank(left) < rank(right); });
    const bool agreed = std::all_of(all.begin(), all.end(),
        [&](const Claim& claim) { return rank(claim) != rank(*best) || claim.icon == best->icon; });
    return agreed ? best->icon : std::string();
}

DesktopEntries::FolderStamp DesktopEntries::stampOf(const std::string& folder) const
{
    struct stat facts = {};
    if (::stat(files_.root().at(folder).c_str(), &facts) != 0)
        return {folder, 0, 0, 0};
    return {folder, facts.st_ino, facts.st_mtim.tv_sec, facts.st_mtim.tv_nsec};
}

void DesktopEntries::refresh()
{
    const bool fresh = !stamps_.empty()
        && std::all_of(stamps_.begin(), stamps_.end(),
            [this](const FolderStamp& stamp) { return stampOf(stamp.folder) == stamp; });
    if (fresh)
        return;
    ++readings_;
    stamps_.clear();
    ids_.clear();
    byFile_.clear();
    byBundle_.clear();
    byName_.clear();
    for (const std::string& folder : dataFolders_)
        readFolder(folder + "/applications", "", 0);
}

void DesktopEntries::readFolder(const std::string& folder, const std::string& prefix, int depth)
{
    if (!SystemFiles::liesInSystem(folder))
        return;
    stamps_.push_back(stampOf(folder));
    if (!files_.isSystemFolder(folder))
        return;
    const std::unique_ptr<DIR, int (*)(DIR*)> open(::opendir(files_.root().at(folder).c_str()),
        [](DIR* handle) { return ::closedir(handle); });
    if (!open)
        return;
    // Sorted, so that what is left out of too many does not change from time to time.
    std::vector<std::string> names;
    std::vector<std::string> folders;
    // The stream is this call's own.
    while (const dirent* item = ::readdir(open.get())) { // NOLINT(concurrency-mt-unsafe)
        const std::string name = item->d_name;
        if (name.size() > ending.size() && name.ends_with(ending))
            names.push_back(name);
        else if (item->d_type == DT_DIR && name.front() != '.')
            folders.push_back(name);
    }
    std::sort(names.begin(), names.end());
    std::sort(folders.begin(), folders.end());
    const auto inside = [&folder](const std::string& name) {
        return std::string(folder).append(1, '/').append(name);
    };
    for (const std::string& name : names)
        if (ids_.size() < maxEntries)
            addEntry(
                inside(name), std::string(prefix).append(name, 0, name.size() - ending.size()));
    for (const std::string& name : folders)
        if (depth < maxDepth && stamps_.size() < maxEntries)
            readFolder(inside(name), std::string(prefix).append(name).append(1, '-'), depth + 1);
}

void DesktopEntries::addEntry(const std::string& path, const std::string& id)
{
    if (!ids_.insert(id).second)
        return;
    if (const auto content = files_.read(path, maxEntrySize))
        if (const auto entry = parseDesktopEntry(*content))
            claim(*entry, id);
}

void DesktopEntries::claim(const DesktopEntry& entry, const std::string& id)
{
    const Claim claim = {entry.icon, id, entry.listed, false};
    if (!entry.bundle.empty()) {
        byBundle_[entry.bundle].push_back(claim);
        return;
    }
    byName_[std::string(shortName(id))].push_back(claim);
    const auto words = commandWords(entry.command);
    if (!words)
        return;
    const StartedProgram started = startedProgram(*words);
    const std::string name(lastPathComponent(started.program));
    // Options make an interpreter run something ("-mgame"), and a browser a single page.
    const bool own = started.onlyItself && (!started.options || areKin(shortName(id), name));
    if (!own || name.empty())
        return;
    const Claim precise = {entry.icon, id, entry.listed, started.options};
    const std::string file = findProgram(started.program);
    if (file.empty() || !leadsToItself(name, file))
        return;
    byFile_[file].push_back(precise);
    if (name != shortName(id))
        byName_[name].push_back(precise);
    claimWrapped(file, precise);
}

// A program that is really a script stands for what it executes, where that is clearly its own: a
// file beside it in the application's folder, or one that is called like it.
void DesktopEntries::claimWrapped(const std::string& script, const Claim& claim)
{
    if (!files_.isScript(script))
        return;
    const auto content = files_.read(script, maxScriptSize);
    const std::string word = content ? executedBy(*content) : std::string();
    const auto slash = word.rfind('/');
    if (slash == std::string::npos)
        return;
    const std::string folder(parentPath(script));
    std::string file;
    if (word.front() == '/') {
        file = files_.resolve(word);
        if (parentPath(file) != folder && !leadsToItself(lastPathComponent(script), file))
            return;
    } else if (word.front() == '$') {
        file = files_.resolve(folder + word.substr(slash));
    }
    if (file.empty() || file == script || !files_.isExecutable(file)
        || (isShared(folder) && !leadsToItself(lastPathComponent(script), file)))
        return;
    byFile_[file].push_back(claim);
}

std::string DesktopEntries::findProgram(const std::string& program) const
{
    if (program.find('/') != std::string::npos) {
        const std::string file = files_.resolve(program);
        return !file.empty() && files_.isExecutable(file) ? file : std::string();
    }
    for (const std::string_view folder : programFolders) {
        std::string file = files_.resolve(std::string(folder) + program);
        if (!file.empty() && files_.isExecutable(file))
            return file;
    }
    return {};
}

}
