#include "driver/guard/watch.h"
#include "driver/replay/replay.h"
#include "driver/server/stop_signals.h"
#include "hosts/linux/accounts.h"
#include "programs/driver_options.h"
#include "settings/directories.h"

#include <errno.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iostream>

// The driver: a socket for agents, and behind it a watch over folders or a replay. Ends with 0 when
// all is done, 1 when a replay was not answered, 2 when the call was wrong or could not be carried
// out, with one sentence on standard error.

namespace vossel {

namespace {

constexpr int exitUnanswered = 1;
constexpr int exitFailed = 2;

int fail(const std::string& reason)
{
    std::cerr << reason << '\n';
    return exitFailed;
}

// Every blocked access, connection and "until the program quits" holds a descriptor, and without
// one the kernel denies.
void raiseDescriptorLimit()
{
    constexpr rlim_t wanted = 65536;
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    const rlimit raised = {std::max(limit.rlim_max, wanted), std::max(limit.rlim_max, wanted)};
    if (::setrlimit(RLIMIT_NOFILE, &raised) == 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

std::size_t maxHeld()
{
    constexpr rlim_t wanted = 4096;
    rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    return static_cast<std::size_t>(std::min(wanted, limit.rlim_cur / 4));
}

// The named user; without a name who called sudo, else who sits at the console, else nobody.
Result<std::optional<uid_t>> configuredUser(const std::string& name)
{
    const LinuxAccounts accounts;
    const auto idOf = [&accounts](const std::string& account) {
        const auto id = accounts.userIdOf(account);
        return id ? std::optional<uid_t>(*id) : std::nullopt;
    };
    if (!name.empty()) {
        const std::optional<uid_t> id = idOf(name);
        if (!id)
            return Failure{"There is no user " + name};
        return id;
    }
    const char* caller = std::getenv("SUDO_UID");
    uid_t callerId = 0;
    if (caller && std::from_chars(caller, caller + std::strlen(caller), callerId).ptr != caller)
        return std::optional(callerId);
    const std::optional<std::string> atConsole = accounts.consoleUser();
    return atConsole ? idOf(*atConsole) : std::optional<uid_t>();
}

int replayFile(EventLoop& loop, SessionServer& server, const DriverOptions& options)
{
    Result<std::string> messages = Replay::load(options.messages);
    if (!messages)
        return fail(messages.reason());
    Replay::Settings settings;
    settings.allAtOnce = options.allAtOnce;
    settings.filtering = options.filtering;
    settings.answerLimit = std::chrono::duration_cast<Replay::Clock::duration>(options.answerLimit);
    Replay replay(server, std::move(*messages), settings, std::cout,
        [&loop](int status, const std::string& reason) {
            if (!reason.empty())
                std::cerr << reason << '\n';
            loop.quit(status);
        });
    if (Result<bool> listening = server.listen(Directories(options.prefix).driverSocket(), replay);
        !listening)
        return fail(listening.reason());
    return loop.run([&replay] { return replay.tick(Replay::Clock::now()); });
}

EventLoop::Milliseconds earlier(EventLoop::Milliseconds a, EventLoop::Milliseconds b)
{
    if (a.count() < 0 || b.count() < 0)
        return std::max(a, b); // negative is never
    return std::min(a, b);
}

int watchFolders(EventLoop& loop, SessionServer& server, const DriverOptions& options)
{
    raiseDescriptorLimit();
    const Result<std::optional<uid_t>> user = configuredUser(options.user);
    if (!user)
        return fail(user.reason());
    Worker worker;
    if (!worker.start())
        return fail("Cannot start a thread");
    QueryDesk::Settings deskSettings;
    deskSettings.allowByDefault = options.allowByDefault;
    deskSettings.configuredUser = *user;
    QueryDesk desk(server, deskSettings);
    if (Result<bool> listening = server.listen(Directories(options.prefix).driverSocket(), desk);
        !listening)
        return fail(listening.reason());

    Watch watch(loop, worker, desk, {options.folders, deskSettings.allowByDefault, maxHeld()});
    if (Result<bool> started = watch.start(); !started)
        return fail(started.reason());
    // Whoever reads the output may itself be waiting for an answer: nothing is written after this.
    for (const GuardedFolder& folder : watch.folders())
        std::cout << "watching " << folder.path() << '\n';
    std::cout << "ready" << std::endl;
    return loop.run([&] {
        const auto now = QueryDesk::Clock::now();
        return earlier(watch.tick(now), desk.tick(now));
    });
}

int run(const DriverOptions& options)
{
    ::umask(022);
    const StopSignals signals;
    EventLoop loop;
    const int interrupted = options.messages.empty() ? 0 : exitUnanswered;
    if (!loop.isValid()
        || !loop.watch(signals.descriptor(), EPOLLIN,
            [&loop, interrupted](std::uint32_t) { loop.quit(interrupted); }))
        return fail("Cannot wait for events: " + errorText(errno));
    SessionServer server(loop);
    return options.messages.empty() ? watchFolders(loop, server, options)
                                    : replayFile(loop, server, options);
}

}

}

int main(int argc, char** argv)
{
    const auto options = vossel::readDriverOptions(argc, argv);
    if (!options)
        return vossel::fail(options.reason());
    return *options ? vossel::run(**options) : 0;
}
