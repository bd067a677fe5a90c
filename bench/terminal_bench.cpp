// How long it takes from the driver's message until the prompt stands on a terminal, whole, against
// a program that does nothing but write the same bytes there; and how often the agent wakes while
// the prompt stands. The agent's own program on a pseudo-terminal; run from a release build.

#include "bench_driver.h"
#include "foundation/files.h"
#include "settings/directories.h"
#include "support/temporary_directory.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <pty.h>
#include <string>

namespace {

using namespace vossel;
using namespace vossel::bench;
using Time = std::chrono::steady_clock::time_point;
using std::chrono::steady_clock;

constexpr int warmUp = 3;
constexpr int rounds = 40;
constexpr auto arming = std::chrono::milliseconds(410);
constexpr auto standing = std::chrono::seconds(10);
constexpr char lastWord[] = "keys"; // ends the prompt's last row
constexpr char allow[] = "\033\r";

// What must hold; the program ends with status 1 where it does not.
constexpr double maxPainting = 10'000; // us
constexpr double maxWakeUps = 1.1; // a second, of the thread that shows the prompt

constexpr char advancedPrompts[]
    = R"(<?xml version="1.0"?><plist version="1.0"><dict><key>access.user.detail</key><integer>2</integer></dict></plist>)";

struct OnTerminal {
    pid_t pid = -1;
    UniqueFd person;
};

template <class Body>
OnTerminal startOnTerminal(const Body& body)
{
    const winsize size{24, 80, 0, 0};
    int person = -1;
    const pid_t pid = forkpty(&person, nullptr, nullptr, &size);
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        body();
        std::_Exit(1);
    }
    return {pid, UniqueFd(person)};
}

void end(OnTerminal& program)
{
    kill(program.pid, SIGKILL);
    waitpid(program.pid, nullptr, 0);
}

std::string readSome(int fd)
{
    std::array<char, 16384> buffer;
    const ssize_t count = read(fd, buffer.data(), buffer.size());
    return count > 0 ? std::string(buffer.data(), static_cast<std::size_t>(count)) : std::string();
}

// Serves the agent and reads its terminal until `done(screen, responded)` or the time is over.
template <class Done>
std::string serve(BenchDriver& driver, int terminal, Time until, const Done& done)
{
    std::string screen;
    bool responded = false;
    while (!done(screen, responded)) {
        const auto left
            = std::chrono::ceil<std::chrono::milliseconds>(until - steady_clock::now()).count();
        pollfd ready[] = {{terminal, POLLIN, 0}, {driver.descriptor(), POLLIN, 0}};
        if (left <= 0 || poll(ready, 2, static_cast<int>(left)) <= 0)
            break;
        if (ready[0].revents)
            screen += readSome(terminal);
        if (ready[1].revents)
            responded = driver.serve() || responded;
    }
    return screen;
}

bool isWhole(const std::string& screen, bool)
{
    return screen.find(lastWord) != std::string::npos;
}

long voluntarySwitches(pid_t pid)
{
    const std::string process = std::to_string(pid);
    std::ifstream status("/proc/" + process + "/task/" + process + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("voluntary_ctxt_switches:"))
            return std::strtol(line.c_str() + 24, nullptr, 10);
    return -1;
}

struct Measured {
    std::vector<std::chrono::nanoseconds> times;
    std::string screen; // what one prompt sent
    double wakeUps = -1; // a second
};

Measured measureAgent(const policy_query_message& message)
{
    test::TemporaryDirectory directory;
    const Directories directories(directory.path());
    std::filesystem::create_directories(directories.sharedData());
    if (!writeFile(directories.preferences(), advancedPrompts))
        std::exit(1);
    BenchDriver driver(directory.path());
    OnTerminal agent = startOnTerminal([&] {
        setenv("TERM", "xterm-256color", 1);
        setenv("LC_ALL", "C.UTF-8", 1);
        execl(VOSSEL_AGENT, VOSSEL_AGENT, "--prefix", directory.path().c_str(), nullptr);
    });
    driver.acceptAgent(true);
    const int terminal = agent.person.get();
    const auto quiet = [](const std::string&, bool) { return false; };
    (void)serve(driver, terminal, steady_clock::now() + arming, quiet);

    Measured measured;
    for (int i = 0; i < warmUp + rounds; ++i) {
        const auto start = steady_clock::now();
        driver.send(message);
        measured.screen = serve(driver, terminal, start + std::chrono::seconds(5), isWhole);
        if (!isWhole(measured.screen, false)) {
            std::fprintf(stderr, "no prompt came\n");
            std::exit(1);
        }
        if (i >= warmUp)
            measured.times.push_back(steady_clock::now() - start);
        (void)serve(driver, terminal, steady_clock::now() + arming, quiet);
        if (i == warmUp) {
            const long before = voluntarySwitches(agent.pid);
            (void)serve(driver, terminal, steady_clock::now() + standing, quiet);
            measured.wakeUps = static_cast<double>(voluntarySwitches(agent.pid) - before)
                / static_cast<double>(standing.count());
        }
        if (write(terminal, allow, sizeof allow - 1) < 0)
            std::exit(1);
        (void)serve(driver, terminal, steady_clock::now() + std::chrono::seconds(5),
            [](const std::string&, bool responded) { return responded; });
        (void)serve(driver, terminal, steady_clock::now() + std::chrono::milliseconds(5), quiet);
    }
    end(agent);
    return measured;
}

std::vector<std::chrono::nanoseconds> measureSmallest(
    const policy_query_message& message, const std::string& screen)
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        std::exit(1);
    OnTerminal program = startOnTerminal([&] {
        policy_query_message query;
        while (recv(ends[1], &query, sizeof query, 0) > 0)
            (void)!write(STDOUT_FILENO, screen.data(), screen.size());
    });
    std::vector<std::chrono::nanoseconds> times;
    for (int i = 0; i < warmUp + rounds; ++i) {
        const auto start = steady_clock::now();
        if (send(ends[0], &message, sizeof message, 0) < 0)
            std::exit(1);
        std::string seen;
        while (!isWhole(seen, false))
            seen += readSome(program.person.get());
        if (i >= warmUp)
            times.push_back(steady_clock::now() - start);
    }
    end(program);
    return times;
}

double print(const char* what, std::vector<std::chrono::nanoseconds> times)
{
    const double p50 = static_cast<double>(median(times).count()) / 1000;
    std::printf("%-28s p50 %8.1f us  longest %8.1f us\n", what, p50,
        static_cast<double>(times.back().count()) / 1000);
    return p50;
}

}

int main()
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const policy_query_message message = exampleQuery();
    const Measured agent = measureAgent(message);
    const double painted = print("advanced prompt, painted", agent.times);
    const double written = print("the same bytes, written", measureSmallest(message, agent.screen));
    std::printf("%zu bytes, ratio of p50 %.1f\n", agent.screen.size(), painted / written);
    std::printf("wake-ups while it stands: %.1f a second\n", agent.wakeUps);
    const bool holds = painted <= maxPainting && agent.wakeUps >= 0 && agent.wakeUps <= maxWakeUps;
    return holds ? 0 : 1;
}
