#include "driver/guard/program_registry.h"

#include "hosts/linux/proc_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace vossel {

namespace {

constexpr std::size_t maxEntries = 4096;

// Runs on the worker's thread. `file` is what the process runs, wherever it lies.
ProgramRegistry::Entry examine(
    const PackageIdentity& packages, Program program, const UniqueFd& file)
{
    ProgramRegistry::Entry entry;
    struct stat named = {};
    program.native = ::stat(program.path.c_str(), &named) == 0 && named.st_dev == program.device
        && named.st_ino == program.inode;
    const UniqueFd readable(
        file ? ::open(descriptorLink(file.get()).c_str(), O_RDONLY | O_CLOEXEC) : -1);
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
    const auto executable
        = process > 0 ? readExecutable(SystemRoot(), process) : std::optional<Executable>();
    if (!executable || executable->inode == 0)
        return std::nullopt;
    Program program;
    program.path = executable->path;
    program.device = executable->device;
    program.inode = executable->inode;
    program.changed = executable->changed;
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
    request.deadline = now + maxReadingTime;
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
    const auto file = std::make_shared<UniqueFd>(openExecutable(process));
    const std::string key = keyOf(program);
    if (entries_.size() >= maxEntries)
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
