#include "hosts/linux/system_files.h"

#include "foundation/files.h"
#include "foundation/path_text.h"

#include <climits>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <deque>

namespace vossel {

namespace {

// Where distributions, vendors and package systems install.
constexpr std::array<std::string_view, 12> systemFolders
    = {"/usr/", "/bin/", "/sbin/", "/lib/", "/lib32/", "/lib64/", "/opt/", "/snap/",
        "/var/lib/flatpak/", "/var/lib/snapd/", "/nix/store/", "/gnu/store/"};
// The only other one through which links of the system lead.
constexpr std::string_view alternatives = "/etc/alternatives/";

constexpr int maxLinks = 40; // as many as the kernel follows

// A path that may be looked at while links are followed: one of the system, or a part of such.
bool maySee(std::string_view path)
{
    const auto whole = std::string(path) + "/";
    const auto leadsTo = [&whole](std::string_view folder) { return folder.starts_with(whole); };
    return SystemFiles::liesInSystem(whole) || whole.starts_with(alternatives)
        || std::any_of(systemFolders.begin(), systemFolders.end(), leadsTo)
        || leadsTo(alternatives);
}

}

SystemFiles::SystemFiles(SystemRoot root)
    : root_(std::move(root))
{
    struct stat facts = {};
    if (::stat(root_.at("/").c_str(), &facts) == 0)
        owner_ = facts.st_uid;
}

bool SystemFiles::liesInSystem(std::string_view path)
{
    const auto holds = [path](std::string_view folder) { return path.starts_with(folder); };
    return std::any_of(systemFolders.begin(), systemFolders.end(), holds);
}

bool SystemFiles::isOwned(const struct stat& facts) const
{
    return facts.st_uid == owner_ && (facts.st_mode & S_IWOTH) == 0
        && (S_ISDIR(facts.st_mode) || (facts.st_mode & S_IWGRP) == 0);
}

std::string SystemFiles::follow(std::string_view path) const
{
    if (!path.starts_with('/') || path.size() >= PATH_MAX
        || path.find('\0') != std::string_view::npos)
        return {};
    std::deque<std::string> left;
    for (const auto part : pathComponents(path))
        left.emplace_back(part);
    std::string done;
    for (int links = 0; !left.empty();) {
        const std::string part = std::move(left.front());
        left.pop_front();
        if (part == "/" || part == ".")
            continue;
        if (part == "..") {
            done.resize(done.empty() ? 0 : done.rfind('/'));
            continue;
        }
        const std::string next = std::string(done).append(1, '/').append(part);
        struct stat facts = {};
        if (!maySee(next) || ::lstat(root_.at(next).c_str(), &facts) != 0)
            return {};
        if (!S_ISLNK(facts.st_mode)) {
            done = next;
            continue;
        }
        std::array<char, PATH_MAX> target; // NOLINT(cppcoreguidelines-pro-type-member-init)
        const auto length = ::readlink(root_.at(next).c_str(), target.data(), target.size());
        if (facts.st_uid != owner_ || ++links > maxLinks || length <= 0)
            return {};
        const std::string_view text(target.data(), static_cast<std::size_t>(length));
        if (text.starts_with('/'))
            done.clear();
        const auto parts = pathComponents(text);
        left.insert(left.begin(), parts.begin(), parts.end());
    }
    return done;
}

std::string SystemFiles::resolve(std::string_view path) const
{
    const std::string real = follow(path);
    struct stat file = {};
    struct stat folder = {};
    const bool counts = liesInSystem(real) && ::lstat(root_.at(real).c_str(), &file) == 0
        && S_ISREG(file.st_mode) && isOwned(file)
        && ::lstat(root_.at(parentPath(real)).c_str(), &folder) == 0 && isOwned(folder);
    return counts ? real : std::string();
}

bool SystemFiles::isExecutable(std::string_view path) const
{
    struct stat facts = {};
    return ::lstat(root_.at(path).c_str(), &facts) == 0 && S_ISREG(facts.st_mode)
        && (facts.st_mode & 0111) != 0;
}

bool SystemFiles::isScript(std::string_view path) const
{
    const FileToRead file = openRefusingLink(root_.at(path));
    std::array<char, 2> start = {};
    return file.fd && !readExactly(file.fd.get(), start.data(), start.size()) && start[0] == '#'
        && start[1] == '!';
}

std::optional<std::string> SystemFiles::read(std::string_view path, std::size_t limit) const
{
    const std::string real = resolve(path);
    if (real.empty())
        return std::nullopt;
    const FileToRead file = openRefusingLink(root_.at(real));
    struct stat facts = {};
    if (!file.fd || ::fstat(file.fd.get(), &facts) != 0 || !S_ISREG(facts.st_mode)
        || !isOwned(facts))
        return std::nullopt;
    auto content = readDescriptor(file.fd.get(), limit, real);
    return content ? std::optional(*std::move(content)) : std::nullopt;
}

bool SystemFiles::isSystemFolder(std::string_view path) const
{
    const std::string real = follow(path);
    struct stat facts = {};
    return liesInSystem(real) && ::lstat(root_.at(real).c_str(), &facts) == 0
        && S_ISDIR(facts.st_mode) && isOwned(facts);
}

}
