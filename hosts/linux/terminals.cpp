#include "hosts/linux/terminals.h"

#include "foundation/files.h"
#include "hosts/linux/mount_table.h"
#include "hosts/linux/proc_file.h"
#include "hosts/linux/processes.h"

#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <set>

namespace vossel {

namespace {

constexpr std::size_t maxEnvironmentSize = std::size_t{8} * 1024 * 1024;
constexpr std::size_t maxValueSize = 4096;
constexpr std::size_t maxDeviceNameSize = 255;
// All its minor numbers, 2^20, are the pseudo-terminals' own; the majors 137 to 143 are unused.
constexpr unsigned pseudoTerminalMajor = 136;

// Takes what stands before the separator off `text`.
std::string_view cutOff(std::string_view& text, char separator)
{
    const std::string_view part = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(part.size() + 1, text.size()));
    return part;
}

// "uevent" files are the driver's word, which becomes a path.
bool isDeviceName(std::string_view name)
{
    if (name.empty() || name.size() > maxDeviceNameSize || name.front() == '/'
        || name.back() == '/')
        return false;
    if (std::any_of(name.begin(), name.end(), [](unsigned char byte) { return byte < 0x20; }))
        return false;
    while (!name.empty()) {
        const std::string_view part = cutOff(name, '/');
        if (part.empty() || part == "." || part == "..")
            return false;
    }
    return true;
}

struct StatFields {
    std::int32_t parent = 0;
    std::int32_t processGroup = 0;
    std::int32_t session = 0;
    std::int32_t terminal = 0;
    std::int32_t foregroundGroup = 0;
};

std::optional<StatFields> readStat(const SystemRoot& root, std::int32_t pid)
{
    const StatLine line = StatLine::of(root, pid);
    std::array<std::int32_t, 5> numbers = {}; // from the parent on
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto number = line.field(4 + static_cast<int>(i));
        if (!number)
            return std::nullopt;
        numbers[i] = static_cast<std::int32_t>(*number);
    }
    return StatFields{numbers[0], numbers[1], numbers[2], numbers[3], numbers[4]};
}

struct DeviceNumber {
    unsigned major = 0;
    unsigned minor = 0;
};

// A minor number of 20 bits around a major number of 12.
DeviceNumber terminalOf(const StatFields& fields)
{
    const auto encoded = static_cast<std::uint32_t>(fields.terminal);
    return {(encoded >> 8) & 0xFFF, (encoded & 0xFF) | ((encoded >> 12) & 0xFFF00)};
}

bool isOn(const StatFields& fields, std::uint64_t device)
{
    const DeviceNumber terminal = terminalOf(fields);
    return fields.terminal != 0 && makedev(terminal.major, terminal.minor) == device;
}

}

LinuxTerminals::LinuxTerminals(std::string_view root)
    : root_(root)
{
}

std::optional<ControllingTerminal> LinuxTerminals::of(std::int32_t pid) const
{
    if (pid <= 0)
        return std::nullopt;
    const auto fields = readStat(root_, pid);
    if (!fields || fields->terminal == 0 || fields->processGroup <= 0 || fields->session <= 0)
        return std::nullopt;
    const auto [major, minor] = terminalOf(*fields);
    const auto path = pathOf(major, minor);
    if (!path || (major == pseudoTerminalMajor && !isKnownHere(*path, fields->session)))
        return std::nullopt;
    return ControllingTerminal{*path, makedev(major, minor), fields->processGroup, fields->session,
        fields->foregroundGroup};
}

std::optional<std::int32_t> LinuxTerminals::foregroundOf(
    std::uint64_t device, std::int32_t pid) const
{
    const auto fields = pid > 0 ? readStat(root_, pid) : std::nullopt;
    if (!fields || !isOn(*fields, device))
        return std::nullopt;
    return fields->foregroundGroup;
}

bool LinuxTerminals::hasOthers(
    std::int32_t session, std::initializer_list<std::int32_t> processes) const
{
    std::set<std::int32_t> known = {0};
    for (std::int32_t pid : processes) {
        while (known.insert(pid).second) {
            const auto fields = readStat(root_, pid);
            pid = fields ? fields->parent : 0;
        }
    }
    const auto all = LinuxProcesses(root_.at("/")).all();
    return std::any_of(all.begin(), all.end(), [&](std::uint32_t number) {
        const auto pid = static_cast<std::int32_t>(number);
        return !known.contains(pid) && ::getsid(pid) == session;
    });
}

std::optional<std::string> LinuxTerminals::environmentOf(
    std::int32_t pid, std::string_view variable) const
{
    if (pid <= 0 || variable.empty() || variable.find('=') != std::string_view::npos)
        return std::nullopt;
    const auto block
        = readFile(root_.at("/proc/" + std::to_string(pid) + "/environ"), maxEnvironmentSize);
    if (!block)
        return std::nullopt;
    std::string_view rest = *block;
    while (!rest.empty()) {
        std::string_view value = cutOff(rest, '\0');
        if (value.size() > variable.size() && cutOff(value, '=') == variable)
            return value.size() <= maxValueSize ? std::optional<std::string>(value) : std::nullopt;
    }
    return std::nullopt;
}

std::optional<std::string> LinuxTerminals::pathOf(unsigned major, unsigned minor) const
{
    if (major == pseudoTerminalMajor)
        return "/dev/pts/" + std::to_string(minor);
    const std::string device = std::to_string(major) + ":" + std::to_string(minor);
    const auto facts = readFile(root_.at("/sys/dev/char/" + device + "/uevent"), 4096);
    if (!facts)
        return std::nullopt;
    std::string_view rest = *facts;
    while (!rest.empty()) {
        std::string_view name = cutOff(rest, '\n');
        if (cutOff(name, '=') == "DEVNAME")
            return isDeviceName(name) ? std::optional("/dev/" + std::string(name)) : std::nullopt;
    }
    return std::nullopt;
}

// Pseudo-terminals are numbered anew for each container. The session's leader opened this one, by
// the file system that lies there for it, or it was given one from outside and cannot be told from
// that.
bool LinuxTerminals::isKnownHere(const std::string& path, std::int32_t session) const
{
    const auto ours = readMounts(root_);
    const auto theirs = readMounts(root_, std::to_string(session));
    const Mount* here = mountOf(ours, path);
    const Mount* there = mountOf(theirs, path);
    return here && there && here->major == there->major && here->minor == there->minor;
}

}
