#pragma once

#include "driver/desk/access.h"
#include "driver/guard/worker.h"
#include "driver/server/event_loop.h"
#include "foundation/files.h"
#include "hosts/linux/package_identity.h"

#include <list>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace vossel {

// Owns what is known of the programs that processes run, and the requests that wait for more of it.
// Reading a program takes time and opens it, so the worker does that; the rest is confined to the
// loop's thread and must open nothing. A program is read again when its file has changed.
class ProgramRegistry {
public:
    using Clock = std::chrono::steady_clock;

    struct Entry {
        Program program;
        ProgramIdentity identity;
    };
    using Done = std::function<void(const std::vector<Entry>&)>;

    // A program that takes longer counts as not identified: whoever waits must not wait for a disk.
    static constexpr std::chrono::seconds maxReadingTime{5};

    // Both must outlive this.
    ProgramRegistry(EventLoop& loop, Worker& worker)
        : loop_(loop)
        , worker_(worker)
    {
    }

    // Calls `done`, now or later, with one entry for each process, in their order; for a process
    // that is gone or runs nothing readable the entry is empty.
    void identify(const std::vector<std::int32_t>& processes, Done done, Clock::time_point now);
    // Forgets everybody who waits; their `done` is not called.
    void dropRequests() { requests_.clear(); }
    // Gives up on what takes too long. Says how long nothing more is due; negative: for ever.
    EventLoop::Milliseconds tick(Clock::time_point now);

private:
    struct Request {
        std::vector<Program> programs;
        Done done;
        Clock::time_point deadline;
    };

    [[nodiscard]] static std::optional<Program> look(std::int32_t process);
    [[nodiscard]] static std::string keyOf(const Program& program);
    [[nodiscard]] bool isKnown(const Program& program) const;
    void read(const Program& program, std::int32_t process);
    void store(const std::string& key, Entry entry);
    void finish(const Request& request);

    EventLoop& loop_;
    Worker& worker_;
    // Used by the worker only, but for its end, which comes after the worker's.
    const std::shared_ptr<PackageIdentity> packages_ = std::make_shared<PackageIdentity>();
    std::map<std::string, std::optional<Entry>> entries_; // without a value: being read
    std::list<Request> requests_; // oldest first
};

}
