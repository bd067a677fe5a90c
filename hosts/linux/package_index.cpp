#include "hosts/linux/package_index.h"

#include "foundation/files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <set>

namespace vossel {

namespace {

constexpr std::string_view statusFile = "/var/lib/dpkg/status";
constexpr std::string_view infoFolder = "/var/lib/dpkg/info/";
constexpr std::string_view listsFolder = "/var/lib/apt/lists/";
constexpr std::size_t maxFileSize = 256 * 1024 * 1024;
constexpr std::size_t md5Digits = 32;
// The head of a package list's release file, which names the origin, is far shorter.
constexpr std::size_t releaseHead = 4096;

// Calls `use` with each line, without its line break.
template <class Use>
void forEachLine(std::string_view text, const Use& use)
{
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        use(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

std::string contentOf(const std::string& path)
{
    auto content = readFile(path, maxFileSize);
    return content ? *std::move(content) : std::string();
}

std::string headOf(const std::string& path)
{
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    std::string head(releaseHead, '\0');
    const auto size = file ? ::read(file.get(), head.data(), head.size()) : -1;
    head.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return head;
}

std::vector<std::string> namesIn(const std::string& folder)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> open(::opendir(folder.c_str()), &::closedir);
    if (open)
        while (const dirent* entry = ::readdir(open.get()))
            names.emplace_back(entry->d_name);
    std::sort(names.begin(), names.end());
    return names;
}

// "Field: value" gives the value.
bool takeField(std::string_view line, std::string_view field, std::string& value)
{
    if (!line.starts_with(field))
        return false;
    value = line.substr(field.size());
    return true;
}

// Origins are shown to people and travel between tabs.
bool isPlain(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) >= ' ' && c != '\x7f';
    });
}

std::uint64_t keyOf(std::string_view path)
{
    return static_cast<std::uint64_t>(std::hash<std::string_view>()(path)) << 32;
}

std::string_view nameOf(std::string_view package)
{
    return package.substr(0, package.find(':'));
}

bool hasLine(std::string_view text, std::string_view wanted)
{
    bool found = false;
    forEachLine(text, [&](std::string_view line) { found = found || line == wanted; });
    return found;
}

// Lines are "SUM  path", the path without its first "/".
std::string sumIn(std::string_view sums, std::string_view path)
{
    std::string sum;
    forEachLine(sums, [&](std::string_view line) {
        if (line.size() == md5Digits + 2 + path.size() - 1 && line.substr(md5Digits, 2) == "  "
            && line.ends_with(path.substr(1)))
            sum = line.substr(0, md5Digits);
    });
    return sum;
}

}

PackageIndex::Stamp PackageIndex::stampOf(const SystemRoot& root)
{
    struct stat file = {};
    if (::stat(root.at(statusFile).c_str(), &file) != 0)
        return {};
    return FileStamp::of(file);
}

PackageIndex::PackageIndex(const SystemRoot& root)
    : root_(root)
    , stamp_(stampOf(root))
{
    readStatus();
    readLists();
    readDiversions();
    readOrigins();
}

void PackageIndex::readStatus()
{
    std::string package;
    std::string architecture;
    forEachLine(contentOf(root_.at(statusFile)), [&](std::string_view line) {
        if (takeField(line, "Package: ", package))
            return;
        // Of a package that is there for several architectures every list names its own.
        if (takeField(line, "Architecture: ", architecture))
            architectures_.emplace(package, architecture);
    });
}

void PackageIndex::readLists()
{
    for (const std::string& name : namesIn(root_.at(infoFolder))) {
        if (!name.ends_with(".list"))
            continue;
        packages_.push_back(name.substr(0, name.size() - 5));
        addList(static_cast<std::uint32_t>(packages_.size() - 1),
            contentOf(root_.at(infoFolder) + name));
    }
    std::sort(files_.begin(), files_.end());
    files_.shrink_to_fit();
}

void PackageIndex::addList(std::uint32_t package, std::string_view content)
{
    // A folder stands right before what lies in it, and folders are no programs.
    std::string_view previous;
    const auto add = [&](std::string_view next) {
        const bool folder = next.size() > previous.size() && next.starts_with(previous)
            && next[previous.size()] == '/';
        if (previous.starts_with('/') && !folder)
            files_.push_back(keyOf(previous) | package);
        previous = next;
    };
    forEachLine(content, add);
    add({});
}

void PackageIndex::readDiversions()
{
    // Three lines each: the path, where a file of that path goes instead, and for which package.
    std::vector<std::string> lines;
    forEachLine(contentOf(root_.at("/var/lib/dpkg/diversions")),
        [&](std::string_view line) { lines.emplace_back(line); });
    for (std::size_t i = 0; i + 2 < lines.size(); i += 3) {
        diverted_[lines[i]] = {lines[i + 1], lines[i + 2]};
        divertedTo_[lines[i + 1]] = {lines[i], lines[i + 2]};
    }
}

void PackageIndex::readOrigins()
{
    std::set<std::string> origins;
    for (const std::string& name : namesIn(root_.at(listsFolder))) {
        if (!name.ends_with("_InRelease") && !name.ends_with("_Release"))
            continue;
        std::string origin; // a list that names none agrees with no other
        forEachLine(headOf(root_.at(listsFolder) + name),
            [&](std::string_view line) { takeField(line, "Origin: ", origin); });
        origins.insert(origin);
    }
    if (origins.size() == 1 && isPlain(*origins.begin()))
        origin_ = *origins.begin();
    forEachLine(contentOf(root_.at("/etc/dpkg/origins/default")),
        [&](std::string_view line) { takeField(line, "Vendor: ", vendor_); });
}

std::optional<PackageIndex::Owner> PackageIndex::ownerOf(std::string_view path) const
{
    if (path.size() < 2 || path.find('\n') != std::string_view::npos)
        return std::nullopt;
    const std::string key(path);
    if (const auto moved = divertedTo_.find(key); moved != divertedTo_.end())
        return findOwner(moved->second.path, Which::Except, moved->second.by);
    if (const auto here = diverted_.find(key); here != diverted_.end())
        return findOwner(path, Which::Only, here->second.by);
    return findOwner(path, Which::Any, {});
}

std::optional<PackageIndex::Owner> PackageIndex::findOwner(
    std::string_view path, Which which, std::string_view package) const
{
    const std::uint64_t key = keyOf(path);
    std::optional<Owner> owner;
    for (auto file = std::lower_bound(files_.begin(), files_.end(), key);
         file != files_.end() && *file >> 32 == key >> 32; ++file) {
        const std::string& candidate = packages_[*file & 0xffffffff];
        const std::string_view name = nameOf(candidate);
        if ((which == Which::Only && name != package) || (which == Which::Except && name == package)
            || !hasLine(contentOf(infoFile(candidate, ".list")), path))
            continue;
        const auto known = architectures_.find(std::string(name));
        owner = {std::string(name), {}, sumIn(contentOf(infoFile(candidate, ".md5sums")), path)};
        if (name.size() < candidate.size())
            owner->architecture = candidate.substr(name.size() + 1);
        else if (known != architectures_.end())
            owner->architecture = known->second;
        if (!owner->md5.empty())
            break;
    }
    return owner;
}

std::string PackageIndex::infoFile(std::string_view package, std::string_view kind) const
{
    return root_.at(infoFolder).append(package).append(kind);
}

}
