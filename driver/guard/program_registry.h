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

// What is known of the programs that processes run. Reading a program takes time and opens it, so
// that is the worker's; the rest is confined to the loop's thread. An executable is read again when
// its file has changed.
class ProgramRegistry {
public:
    using Clock = std::chrono::steady_clock;

    struct Entry {
        Program program;
        ProgramIdentity identity;
    };
    using Done = std::function<void(const std::vector<Entry>&)>;

    // Beyond this a program counts as not identified: whoever waits is not to wait for a disk.
    static constexpr std::chrono::seconds longest{5};

    // Both must outlive this.
    ProgramRegistry(EventLoop& loop, Worker& worker)
        : loop_(loop)
        , worker_(worker)
    {
    }

    // Calls `done`, now or later, with one entry for each process, in their order; for a process
    // that is gone or runs nothing readable the entry is empty.
    void identify(const std::vector<std::int32_t>& processes, Done done, Clock::time_point now);
    // Forgets who waits; their `done` is not called.
    void dropRequests() { requests_.clear(); }
    // Gives up on what takes too long; how long until that is due again, negative when nothing is.
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
