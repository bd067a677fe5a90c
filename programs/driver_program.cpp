#include "programs/driver_program.h"

#include "driver/desk/replay.h"
#include "driver/guard/watch.h"
#include "driver/server/stop_signals.h"
#include "hosts/linux/accounts.h"
#include "settings/directories.h"

#include <CLI/CLI.hpp>

#include <errno.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iostream>

namespace vossel {

namespace {

constexpr int exitUnanswered = 1;
constexpr int exitFailed = 2;

struct Options {
    std::string prefix;
    std::vector<std::string> folders;
    std::string replay;
    bool allAtOnce = false;
    bool inactive = false;
    double timeout = 65;
    std::string byDefault = "allow";
    std::string user;
};

int fail(const std::string& reason)
{
    std::cerr << reason << '\n';
    return exitFailed;
}

std::string firstLine(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}

void declare(CLI::App& app, Options& options)
{
    app.set_version_flag("--version", VOSSEL_VERSION);
    app.add_option("--prefix", options.prefix, "Move every path of the product below this folder")
        ->envname("VOSSEL_PREFIX");
    auto* watch = app.add_option(
        "--watch", options.folders, "Guard the file systems mounted at these folders; needs root");
    auto* replay = app.add_option("--replay", options.replay,
        "Send the messages in this file to an agent and print its answers");
    watch->excludes(replay);
    app.add_flag("--all-at-once", options.allAtOnce, "Do not wait for one answer after another")
        ->needs(replay);
    app.add_flag("--inactive", options.inactive, "Say that filtering is off")->needs(replay);
    app.add_option("--timeout", options.timeout, "Seconds to wait for each answer")
        ->needs(replay)
        ->check(CLI::Range(0.001, 86400.0));
    app.add_option("--default", options.byDefault, "What happens where nobody can be asked")
        ->needs(watch)
        ->check(CLI::IsMember({"allow", "deny"}));
    app.add_option("--user", options.user, "Whose agent is asked about every user's processes")
        ->needs(watch);
}

// Every blocked access, connection and "until the program quits" holds a descriptor, and without
// one the kernel denies.
void raiseDescriptorLimit()
{
    constexpr rlim_t wanted = 65536;
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    const rlimit most = {std::max(limit.rlim_max, wanted), std::max(limit.rlim_max, wanted)};
    if (::setrlimit(RLIMIT_NOFILE, &most) == 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

std::size_t mostHeld()
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

int replayFile(EventLoop& loop, SessionServer& server, const Options& options)
{
    using Seconds = std::chrono::duration<double>;
    Result<std::string> messages = Replay::load(options.replay);
    if (!messages)
        return fail(messages.reason());
    Replay::Settings settings;
    settings.allAtOnce = options.allAtOnce;
    settings.filtering = !options.inactive;
    settings.answerLimit
        = std::chrono::duration_cast<Replay::Clock::duration>(Seconds(options.timeout));
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

int watchFolders(EventLoop& loop, SessionServer& server, const Options& options)
{
    raiseDescriptorLimit();
    const Result<std::optional<uid_t>> user = configuredUser(options.user);
    if (!user)
        return fail(user.reason());
    Worker worker;
    if (!worker.start())
        return fail("Cannot start a thread");
    QueryDesk::Settings deskSettings;
    deskSettings.allowByDefault = options.byDefault == "allow";
    deskSettings.configuredUser = *user;
    QueryDesk desk(server, deskSettings);
    if (Result<bool> listening = server.listen(Directories(options.prefix).driverSocket(), desk);
        !listening)
        return fail(listening.reason());

    Watch watch(loop, worker, desk, {options.folders, deskSettings.allowByDefault, mostHeld()});
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

int run(const Options& options)
{
    ::umask(022);
    const StopSignals signals;
    EventLoop loop;
    const int interrupted = options.replay.empty() ? 0 : exitUnanswered;
    if (!loop.isValid()
        || !loop.watch(signals.descriptor(), EPOLLIN,
            [&loop, interrupted](std::uint32_t) { loop.quit(interrupted); }))
        return fail("Cannot wait for events: " + errorText(errno));
    SessionServer server(loop);
    return options.replay.empty() ? watchFolders(loop, server, options)
                                  : replayFile(loop, server, options);
}

}

int runDriver(int argc, char** argv)
{
    CLI::App app("The Vossel driver: asks an agent about file accesses.", "VosselDriver");
    Options options;
    declare(app, options);
    try {
        app.parse(argc, argv);
        if (options.folders.empty() && options.replay.empty())
            return fail("VosselDriver needs --watch DIR or --replay FILE; --help tells more");
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0)
            return app.exit(error);
        return fail(firstLine(error.what()));
    }
    while (options.prefix.ends_with('/'))
        options.prefix.pop_back();
    return run(options);
}

}
