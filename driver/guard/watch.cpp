#include "driver/guard/watch.h"

#include "hosts/linux/process_life.h"

#include <errno.h>
#include <sys/epoll.h>
#include <unistd.h>

namespace vossel {

namespace {

const SystemRoot systemRoot;
constexpr std::size_t maxAllowedStarts = 4096;
constexpr int maxAncestors = 64;

// The process, its parent and, where they are wanted, the parents above.
std::vector<std::int32_t> lineage(const ThreadFacts& facts, bool withAncestors)
{
    std::vector<std::int32_t> processes = {facts.process, facts.parent};
    while (withAncestors && processes.back() > 1 && processes.size() < maxAncestors) {
        const std::optional<ThreadFacts> above = readThreadFacts(systemRoot, processes.back());
        if (!above)
            break;
        processes.push_back(above->parent);
    }
    return processes;
}

}

Watch::Held::Held(Watch& owner, FileGuard::Event accessEvent)
    : watch(owner)
    , event(std::move(accessEvent))
{
}

Watch::Held::~Held()
{
    answer(watch.settings_.allowByDefault);
    if (place)
        watch.places_.leave(*place);
}

void Watch::Held::answer(bool allow)
{
    if (answered)
        return;
    answered = true;
    watch.guard_->answer(event, allow);
    if (event.execute && allow) {
        // A thread that is killed between start and opening leaves its entry behind.
        if (watch.allowedStarts_.size() >= maxAllowedStarts)
            watch.allowedStarts_.clear();
        watch.allowedStarts_[event.thread] = handle;
    }
    if (creation && !allow)
        watch.removeLeftover(*this);
}

Watch::Watch(EventLoop& loop, Worker& worker, QueryDesk& desk, const Settings& settings)
    : loop_(loop)
    , worker_(worker)
    , desk_(desk)
    , settings_(settings)
    , places_(settings.maxHeld)
{
}

Watch::~Watch()
{
    desk_.releaseAll();
    if (programs_)
        programs_->dropRequests();
    if (guard_)
        loop_.forget(guard_->descriptor());
    // This comes before the wait for the worker, which may be opening a guarded file.
    guard_.reset();
    worker_.stop();
}

Result<bool> Watch::start()
{
    for (const std::string& path : settings_.folders) {
        Result<GuardedFolder> folder = GuardedFolder::open(path);
        if (!folder)
            return Failure{folder.reason()};
        folders_.push_back(std::move(*folder));
    }
    programs_.emplace(loop_, worker_);
    Result<FileGuard> guard = FileGuard::open();
    if (!guard)
        return Failure{guard.reason()};
    guard_ = std::move(*guard);
    creations_ = CreationNotes::open(folders_);
    if (!loop_.watch(guard_->descriptor(), EPOLLIN, [this](std::uint32_t) { readEvents(); }))
        return Failure{"Cannot wait for file accesses: " + errorText(errno)};
    for (const GuardedFolder& folder : folders_)
        if (Result<bool> guarded = guard_->guard(folder); !guarded)
            return Failure{guarded.reason()};
    return true;
}

EventLoop::Milliseconds Watch::tick(ProgramRegistry::Clock::time_point now)
{
    return programs_->tick(now);
}

void Watch::readEvents()
{
    std::vector<FileGuard::Event> events = guard_->read();
    // The kernel has reported the creations that belong to these openings by now.
    if (creations_)
        creations_->refresh();
    for (FileGuard::Event& event : events)
        take(std::move(event));
}

const GuardedFolder* Watch::folderOf(const OpenedFile& file) const
{
    for (const GuardedFolder& folder : folders_)
        if (folder.holds(file))
            return &folder;
    return nullptr;
}

void Watch::take(FileGuard::Event event)
{
    const std::int32_t thread = event.thread;
    const auto held = std::make_shared<Held>(*this, std::move(event));
    if (isThreadOf(::getpid(), thread) || desk_.isAgentThread(thread)) {
        held->answer(true);
        return;
    }
    std::uint64_t mount = 0;
    std::optional<OpenedFile> file = examineOpened(held->event.file.get(), mount);
    if (file && (!file->regular || !desk_.isFiltering())) {
        held->answer(true);
        return;
    }
    const std::optional<ThreadFacts> facts = readThreadFacts(systemRoot, thread);
    if (!file || !facts)
        return; // the default
    const WaitingPlaces::Room room = places_.take(facts->realUser);
    if (room == WaitingPlaces::Room::UserFull)
        held->answer(false);
    if (room != WaitingPlaces::Room::Free)
        return; // the default
    held->place = facts->realUser;
    held->handle = fileHandle(held->event.file.get());
    if (const GuardedFolder* folder = folderOf(*file))
        folder->resolve(*file, mount, held->handle);
    held->file = std::move(*file);
    const std::int32_t operations = operationsOf(*held);
    if (operations == 0)
        held->answer(true);
    else
        question(held, operations, *facts);
}

// Whether this is the opening that follows an allowed start; an entry serves a thread's next event
// alone.
bool Watch::takeAllowedStart(const Held& held)
{
    const auto start = allowedStarts_.find(held.event.thread);
    if (start == allowedStarts_.end())
        return false;
    const bool same = start->second == held.handle;
    allowedStarts_.erase(start);
    return same;
}

// What is asked about, a set of Operation; empty when the answer to the program start covers it.
std::int32_t Watch::operationsOf(Held& held)
{
    if (held.event.execute)
        return OPERATION_EXECUTE;
    const bool started = takeAllowedStart(held);
    const BlockedCall call = readBlockedCall(systemRoot, held.event.thread);
    // A start by a call of another convention (32 bits) is not recognised by its number.
    if (started && (call.operations == OPERATION_EXECUTE || !call.known))
        return 0;
    if (call.operations == OPERATION_EXECUTE)
        return OPERATION_EXECUTE;
    if (creations_ && !held.handle.empty())
        held.creation = creations_->take(held.event.thread, held.handle);
    // A file without a name was made by this call, which nobody reports.
    const bool unreported = !creations_ || held.handle.empty() || held.file.names == 0;
    if (held.creation || (unreported && call.mayCreate && held.file.empty))
        return call.operations | OPERATION_CREATE;
    return call.operations;
}

void Watch::question(std::shared_ptr<Held> held, std::int32_t operations, const ThreadFacts& facts)
{
    Question question;
    question.access.operations = operations;
    question.access.path = held->file.path;
    if (!held->handle.empty())
        question.fileId = std::to_string(held->file.device) + ' ' + held->handle;
    if (held->file.names > 1)
        question.access.fileId = question.fileId;
    question.process = facts.process;
    question.parentProcess = facts.parent;
    question.startTime = readStartTime(systemRoot, facts.process);
    question.access.realUser = facts.realUser;

    Waiter waiter;
    waiter.answer = [held](bool allow) { held->answer(allow); };
    waiter.isAlive = [process = facts.process, thread = held->event.thread] {
        return isThreadOf(process, thread);
    };
    const auto now = ProgramRegistry::Clock::now();
    programs_->identify(
        lineage(facts, desk_.looksAtAncestors()),
        [this, question, waiter](const std::vector<ProgramRegistry::Entry>& entries) mutable {
            question.identity = entries[0].identity;
            question.access.program = entries[0].program;
            question.access.parent = entries[1].program;
            for (std::size_t i = 2; i < entries.size(); ++i)
                question.access.ancestors.push_back(entries[i].program);
            desk_.ask(std::move(question), std::move(waiter), QueryDesk::Clock::now());
        },
        now);
}

void Watch::removeLeftover(const Held& held)
{
    const GuardedFolder* folder = folderOf(held.file);
    // A worker that has too much to do refuses this; then the empty file stays.
    if (folder)
        static_cast<void>(worker_.post([folder, creation = *held.creation, file = held.file] {
            folder->removeEmpty(creation.folder, creation.name, file);
        }));
}

}
