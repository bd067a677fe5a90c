#include "driver/guard/program_registry.h"

#include <climits>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace vossel {

namespace {

constexpr std::size_t mostEntries = 4096;
constexpr std::string_view deletedMark = " (deleted)";

std::string executableLink(std::int32_t process)
{
    return "/proc/" + std::to_string(process) + "/exe";
}

// Worker's thread. `file` is what the process runs, wherever it lies.
ProgramRegistry::Entry examine(
    const PackageIdentity& packages, Program program, const UniqueFd& file)
{
    ProgramRegistry::Entry entry;
    struct stat named = {};
    program.native = ::stat(program.path.c_str(), &named) == 0 && named.st_dev == program.device
        && named.st_ino == program.inode;
    const UniqueFd readable(file
            ? ::open(("/proc/self/fd/" + std::to_string(file.get())).c_str(), O_RDONLY | O_CLOEXEC)
            : -1);
    if (readable)
        entry.identity = packages.identify(program.path, readable.get());
    if (entry.identity.state == CODE_SIGN_VALID)
        program.signature = entry.identity.identifier + '\t' + entry.identity.team;
    entry.program = std::move(program);
    return entry;
}

}

// Follows the link without opening what it leads to.
std::optional<Program> ProgramRegistry::look(std::int32_t process)
{
    const std::string link = executableLink(process);
    char path[PATH_MAX];
    const ssize_t size = ::readlink(link.c_str(), path, sizeof path);
    struct stat file = {};
    if (process <= 0 || size < 0 || ::stat(link.c_str(), &file) != 0)
        return std::nullopt;
    Program program;
    program.path.assign(path, static_cast<std::size_t>(size));
    if (file.st_nlink == 0 && program.path.ends_with(deletedMark))
        program.path.resize(program.path.size() - deletedMark.size());
    program.device = file.st_dev;
    program.inode = file.st_ino;
    program.changed = std::int64_t(file.st_ctim.tv_sec) * 1'000'000'000 + file.st_ctim.tv_nsec;
    return program;
}

std::string ProgramRegistry::keyOf(const Program& program)
{
    return std::to_string(program.device) + ' ' + std::to_string(program.inode) + ' '
        + std::to_string(program.changed) + ' ' + program.path;
}

bool ProgramRegistry::isKnown(const Program& program) const
{
    const auto found = entries_.find(keyOf(program));
    return program.inode == 0 || (found != entries_.end() && found->second);
}

void ProgramRegistry::identify(
    const std::vector<std::int32_t>& processes, Done done, Clock::time_point now)
{
    Request request;
    request.deadline = now + longest;
    for (const std::int32_t process : processes) {
        request.programs.push_back(look(process).value_or(Program()));
        const Program& program = request.programs.back();
        if (program.inode != 0 && entries_.count(keyOf(program)) == 0)
            read(program, process);
    }
    request.done = std::move(done);
    const bool all = std::all_of(request.programs.begin(), request.programs.end(),
        [this](const Program& program) { return isKnown(program); });
    if (all)
        finish(request);
    else
        requests_.push_back(std::move(request));
}

void ProgramRegistry::read(const Program& program, std::int32_t process)
{
    // Without access to the content, which would ask this very driver.
    const auto file
        = std::make_shared<UniqueFd>(::open(executableLink(process).c_str(), O_PATH | O_CLOEXEC));
    const std::string key = keyOf(program);
    if (entries_.size() >= mostEntries)
        std::erase_if(entries_, [](const auto& entry) { return entry.second.has_value(); });
    entries_[key] = std::nullopt;
    const bool posted = worker_.post([this, packages = packages_, program, key, file] {
        Entry entry = examine(*packages, program, *file);
        loop_.post([this, key, entry = std::move(entry)] { store(key, entry); });
    });
    if (!posted)
        entries_[key] = Entry{program, {}};
}

void ProgramRegistry::store(const std::string& key, Entry entry)
{
    entries_[key] = std::move(entry);
    for (auto request = requests_.begin(); request != requests_.end();) {
        const auto current = request++;
        const bool all = std::all_of(current->programs.begin(), current->programs.end(),
            [this](const Program& program) { return isKnown(program); });
        if (!all)
            continue;
        const Request finished = std::move(*current);
        requests_.erase(current);
        finish(finished);
    }
}

void ProgramRegistry::finish(const Request& request)
{
    std::vector<Entry> entries;
    for (const Program& program : request.programs) {
        const auto found = entries_.find(keyOf(program));
        const bool known = found != entries_.end() && found->second;
        entries.push_back(known ? *found->second : Entry{program, {}});
    }
    request.done(entries);
}

EventLoop::Milliseconds ProgramRegistry::tick(Clock::time_point now)
{
    while (!requests_.empty() && requests_.front().deadline <= now) {
        const Request overdue = std::move(requests_.front());
        requests_.pop_front();
        finish(overdue);
    }
    if (requests_.empty())
        return EventLoop::Milliseconds(-1);
    return std::chrono::ceil<EventLoop::Milliseconds>(requests_.front().deadline - now);
}

}
