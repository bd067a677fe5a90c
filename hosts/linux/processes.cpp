#include "hosts/linux/processes.h"

#include "foundation/files.h"

#include <climits>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>

namespace vossel {

namespace {

constexpr std::size_t longestExecutablePath = 1023;
constexpr std::string_view deletedMark = " (deleted)";

template <class Number>
bool parseNumber(std::string_view text, Number& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

bool sameFile(const std::string& one, const std::string& other)
{
    struct stat first = {};
    struct stat second = {};
    return ::stat(one.c_str(), &first) == 0 && ::stat(other.c_str(), &second) == 0
        && first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

}

LinuxProcesses::LinuxProcesses(std::string_view root)
    : root_(root)
{
}

std::int32_t LinuxProcesses::parentOf(std::uint32_t pid) const
{
    const auto stat = readFile(root_.at("/proc/" + std::to_string(pid) + "/stat"), 4096);
    if (!stat)
        return -1;
    // "PID (name) S PARENT ...": the name is the process's own choice and may hold ") S 1".
    const std::string_view line = *stat;
    const auto name = line.rfind(')');
    if (name == std::string_view::npos || line.size() < name + 5)
        return -1;
    const std::string_view rest = line.substr(name + 4);
    std::int32_t parent = -1;
    return parseNumber(rest.substr(0, rest.find(' ')), parent) && parent >= 0 ? parent : -1;
}

std::string LinuxProcesses::executablePath(std::uint32_t pid) const
{
    const std::string link = root_.at("/proc/" + std::to_string(pid) + "/exe");
    std::array<char, PATH_MAX> buffer = {};
    const auto length = ::readlink(link.c_str(), buffer.data(), buffer.size());
    if (length <= 0)
        return {};
    std::string path(buffer.data(), static_cast<std::size_t>(length));
    // The kernel's mark, unless the file really is called so: else "/bin/tool (deleted)" would pass
    // for "/bin/tool".
    if (path.ends_with(deletedMark) && !sameFile(link, path))
        path.resize(path.size() - deletedMark.size());
    path.resize(std::min(path.size(), longestExecutablePath));
    return path;
}

std::vector<std::uint32_t> LinuxProcesses::all() const
{
    std::vector<std::uint32_t> processes;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(
        ::opendir(root_.at("/proc").c_str()), &::closedir);
    if (!folder)
        return processes;
    while (const dirent* entry = ::readdir(folder.get())) {
        std::uint32_t pid = 0;
        if (parseNumber(std::string_view(entry->d_name), pid))
            processes.push_back(pid);
    }
    std::sort(processes.begin(), processes.end());
    return processes;
}

}
