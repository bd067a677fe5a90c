#pragma once

#include "driver/desk/query_desk.h"
#include "driver/desk/waiting_places.h"
#include "driver/guard/blocked_call.h"
#include "driver/guard/creation_notes.h"
#include "driver/guard/file_guard.h"
#include "driver/guard/program_registry.h"
#include "hosts/linux/proc_file.h"

#include <map>
#include <memory>

namespace vossel {

// Turns what the kernel asks into questions for the desk, and the desk's answers into the kernel's.
// Owns the guard, the guarded folders and every blocked access until that is answered; must not own
// a decision, nor open anything on a guarded file system, where it would wait for itself. Confined
// to the loop's thread.
class Watch {
public:
    struct Settings {
        std::vector<std::string> folders;
        bool allowByDefault = true;
        // How many accesses are blocked at a time; beyond these the default holds. See
        // WaitingPlaces for the part of one user.
        std::size_t maxHeld = 4096;
    };

    // All must outlive this.
    Watch(EventLoop& loop, Worker& worker, QueryDesk& desk, const Settings& settings);
    // Lets everybody who is blocked go.
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    // From here on every opening below the folders is asked about. Where this fails nothing is
    // guarded.
    Result<bool> start();
    [[nodiscard]] const std::vector<GuardedFolder>& folders() const { return folders_; }
    EventLoop::Milliseconds tick(ProgramRegistry::Clock::time_point now);

private:
    // One blocked access. When it goes without an answer it gets the default.
    struct Held {
        Held(Watch& watch, FileGuard::Event accessEvent);
        ~Held();
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;

        void answer(bool allow);

        Watch& watch;
        FileGuard::Event event;
        OpenedFile file;
        std::string handle;
        std::optional<CreationNotes::Creation> creation;
        std::optional<uid_t> place; // whose place it takes
        bool answered = false;
    };

    void readEvents();
    void take(FileGuard::Event event);
    [[nodiscard]] std::int32_t operationsOf(Held& held);
    [[nodiscard]] bool takeAllowedStart(const Held& held);
    [[nodiscard]] const GuardedFolder* folderOf(const OpenedFile& file) const;
    void question(std::shared_ptr<Held> held, std::int32_t operations, const ThreadFacts& facts);
    void removeLeftover(const Held& held);

    EventLoop& loop_;
    Worker& worker_;
    QueryDesk& desk_;
    Settings settings_;
    std::vector<GuardedFolder> folders_;
    std::optional<CreationNotes> creations_;
    std::optional<FileGuard> guard_;
    std::optional<ProgramRegistry> programs_;
    // By thread the file whose start as a program was allowed: the kernel asks about the opening of
    // that file next.
    std::map<std::int32_t, std::string> allowedStarts_;
    WaitingPlaces places_;
};

}
