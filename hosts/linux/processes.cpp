#include "hosts/linux/processes.h"

#include "hosts/linux/proc_file.h"

#include <dirent.h>

#include <algorithm>
#include <charconv>
#include <memory>

namespace vossel {

namespace {

constexpr std::size_t maxExecutablePathSize = 1023;

}

LinuxProcesses::LinuxProcesses(std::string_view root)
    : root_(root)
{
}

std::int32_t LinuxProcesses::parentOf(std::uint32_t pid) const
{
    const auto parent = StatLine::of(root_, static_cast<std::int32_t>(pid)).parent();
    return parent && *parent >= 0 ? static_cast<std::int32_t>(*parent) : -1;
}

std::string LinuxProcesses::executablePath(std::uint32_t pid) const
{
    const auto executable = readExecutable(root_, static_cast<std::int32_t>(pid));
    return executable ? executable->path.substr(0, maxExecutablePathSize) : std::string();
}

std::vector<std::uint32_t> LinuxProcesses::all() const
{
    std::vector<std::uint32_t> processes;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(
        ::opendir(root_.at("/proc").c_str()), &::closedir);
    if (!folder)
        return processes;
    while (const dirent* entry = ::readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        std::uint32_t pid = 0;
        const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), pid);
        if (error == std::errc() && end == name.data() + name.size())
            processes.push_back(pid);
    }
    std::sort(processes.begin(), processes.end());
    return processes;
}

}
