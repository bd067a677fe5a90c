#include "hosts/linux/proc_file.h"

#include <climits>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>

namespace vossel {

namespace {

constexpr std::string_view deletedMark = " (deleted)";

std::string placeOf(const SystemRoot& root, std::int32_t id, const char* name)
{
    return root.at("/proc/" + std::to_string(id) + "/" + name);
}

// The number at the start of `text`, cut off it with the blanks before it.
template <class Number>
std::optional<Number> takeNumber(std::string_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    Number value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    const bool whole
        = text.empty() || text.front() == ' ' || text.front() == '\t' || text.front() == '\n';
    return error == std::errc() && whole ? std::optional(value) : std::nullopt;
}

// What follows "NAME:" at the start of a line. The first line holds the program's own choice of a
// name, in which the kernel escapes line breaks.
std::string_view lineOf(std::string_view text, const char* name)
{
    const std::string label = std::string("\n") + name + ":";
    const std::size_t place = text.find(label);
    return place == std::string_view::npos ? std::string_view() : text.substr(place + label.size());
}

std::string linkTarget(const std::string& link)
{
    std::array<char, PATH_MAX> path = {};
    const ssize_t size = ::readlink(link.c_str(), path.data(), path.size());
    return size < 0 ? std::string() : std::string(path.data(), static_cast<std::size_t>(size));
}

// Whether `path` leads to this very file, as far as the kernel's cache tells. That holds the path
// of every program that runs, and a look at the disk could wait for whoever serves it.
bool leadsTo(const std::string& path, const struct stat& file)
{
    open_how how = {};
    how.flags = O_PATH | O_CLOEXEC;
    how.resolve = RESOLVE_CACHED;
    const UniqueFd here(
        static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how)));
    struct stat named = {};
    return here && ::fstat(here.get(), &named) == 0 && named.st_dev == file.st_dev
        && named.st_ino == file.st_ino;
}

}

std::string readProcFile(const SystemRoot& root, std::int32_t id, const char* name)
{
    const UniqueFd file(::open(placeOf(root, id, name).c_str(), O_RDONLY | O_CLOEXEC));
    std::string content(4096, '\0');
    const ssize_t size = file ? ::read(file.get(), content.data(), content.size()) : -1;
    content.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return content;
}

StatLine StatLine::of(const SystemRoot& root, std::int32_t process)
{
    StatLine line;
    const std::string text = readProcFile(root, process, "stat");
    if (const std::size_t nameEnd = text.rfind(") "); nameEnd != std::string::npos)
        line.fields_ = text.substr(nameEnd + 2);
    return line;
}

std::optional<std::int64_t> StatLine::field(int number) const
{
    std::string_view rest = fields_;
    for (int skipped = 3; skipped < number; ++skipped) {
        const std::size_t blank = rest.find(' ');
        if (blank == std::string_view::npos)
            return std::nullopt;
        rest.remove_prefix(blank + 1);
    }
    return takeNumber<std::int64_t>(rest);
}

std::uint64_t readStartTime(const SystemRoot& root, std::int32_t process)
{
    return static_cast<std::uint64_t>(StatLine::of(root, process).field(22).value_or(0));
}

std::optional<ThreadFacts> readThreadFacts(const SystemRoot& root, std::int32_t thread)
{
    const std::string text = readProcFile(root, thread, "status");
    std::string_view processes = lineOf(text, "Tgid");
    std::string_view parents = lineOf(text, "PPid");
    std::string_view users = lineOf(text, "Uid");
    const auto process = takeNumber<std::int32_t>(processes);
    const auto parent = takeNumber<std::int32_t>(parents);
    const auto real = takeNumber<std::uint32_t>(users);
    const auto effective = takeNumber<std::uint32_t>(users);
    const auto saved = takeNumber<std::uint32_t>(users);
    if (!process || !parent || !real || !effective || !saved)
        return std::nullopt;
    return ThreadFacts{*process, *parent, *real, *effective, *saved};
}

std::optional<Executable> readExecutable(const SystemRoot& root, std::int32_t process)
{
    const std::string link = placeOf(root, process, "exe");
    Executable executable;
    executable.path = linkTarget(link);
    if (executable.path.empty())
        return std::nullopt;
    struct stat file = {};
    const bool known = ::stat(link.c_str(), &file) == 0;
    if (known) {
        executable.device = file.st_dev;
        executable.inode = file.st_ino;
        executable.changed
            = std::int64_t(file.st_ctim.tv_sec) * 1'000'000'000 + file.st_ctim.tv_nsec;
    }
    // The kernel marks a path that the file no longer has, whether or not it has another one. A
    // file may also really be called so: else "/bin/tool (deleted)" would pass for "/bin/tool".
    std::string& path = executable.path;
    if (path.ends_with(deletedMark) && !(known && file.st_nlink > 0 && leadsTo(path, file)))
        path.resize(path.size() - deletedMark.size());
    return executable;
}

UniqueFd openExecutable(std::int32_t process)
{
    return UniqueFd(::open(placeOf(SystemRoot(), process, "exe").c_str(), O_PATH | O_CLOEXEC));
}

std::string descriptorLink(int fd)
{
    return "/proc/self/fd/" + std::to_string(fd);
}

std::string descriptorPath(int fd)
{
    return linkTarget(descriptorLink(fd));
}

}
