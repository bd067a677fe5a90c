// How long a query takes from the driver's message to the agent's response while the prompt answers
// by itself, against a bare exchange of the same bytes over the same kind of socket in the same
// run; and what ten thousand queries at once cost. Run from a release build.

#include "agent/driver_link.h"
#include "bench_driver.h"
#include "hosts/desktop/qt_main_thread.h"
#include "hosts/linux/clock.h"
#include "hosts/linux/driver_service.h"
#include "hosts/linux/processes.h"
#include "hosts/linux/thread_launcher.h"
#include "hosts/simulated/simulated_host.h"
#include "prompting/permissions_manager.h"
#include "support/fake_prompts.h"
#include "support/temporary_directory.h"
#include "ui/prompt/prompt_presenter.h"
#include "ui/prompt/prompt_view_model_factory.h"
#include "ui/prompt/shown_prompt.h"
#include "user/user_checks.h"

#include <QCoreApplication>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

namespace {

using namespace vossel;
using namespace vossel::bench;

constexpr int warmUp = 500;
constexpr int rounds = 5000;
constexpr std::size_t floodSize = 10'000;

// What must hold; the program ends with status 1 where it does not.
constexpr double largestRatio = 5;
constexpr double largestMemory = 300; // MB

enum class Prompts { None, Instant, ViewModels };

// Presses Allow as soon as a prompt is open.
class InstantPresenter final : public PromptPresenter {
public:
    explicit InstantPresenter(MainThread& mainThread)
        : mainThread_(mainThread)
    {
    }
    void promptOpened(ShownPrompt& prompt) override
    {
        mainThread_.perform([&prompt] { (void)prompt.carryOut({PromptAct::Kind::Allow, 0}); });
    }
    void promptChanged(ShownPrompt&) override { }
    void promptClosed(ShownPrompt&) override { }

private:
    MainThread& mainThread_;
};

// The agent's own parts over the real socket, threads, clock and event loop; the rest of the
// machine is simulated. Serves until it is killed.
[[noreturn]] void runAgent(const std::string& prefix, Prompts kind)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    int argc = 1;
    char name[] = "agent";
    char* argv[] = {name, nullptr};
    QCoreApplication application(argc, argv);
    SimulatedHost simulated;
    LinuxClock clock;
    LinuxThreadLauncher threads;
    LinuxProcesses processes;
    QtMainThread mainThread;
    const Directories directories{prefix};
    LinuxDriverService driver{directories.driverSocket()};
    const Host host{clock, threads, mainThread, simulated.timers, driver, simulated.session,
        simulated.accounts, processes, simulated.installers, simulated.volumes,
        simulated.codeSigning, simulated.authenticator, simulated.notifications, simulated.notices,
        simulated.windows, simulated.workspace, simulated.processControl, simulated.alertSound};
    simulated.accounts.makeAdministrator(); // advanced prompts
    const UserChecks checks{host.accounts, directories};
    PermissionsManager broker{host, directories, checks};
    FilterStatus status;
    InstantPresenter presenter{mainThread};
    PromptViewModelFactory viewModels{{host, directories, broker, presenter}};
    test::FakePromptFactory instant;
    instant.onShow = [&](test::FakeAdvancedPrompt& prompt) {
        prompt.performClickAllow();
        mainThread.perform([&instant] { instant.advanced.clear(); });
    };
    if (kind == Prompts::ViewModels)
        broker.setPromptFactory(&viewModels);
    else
        broker.setPromptFactory(&instant);
    DriverLink link{host, directories, checks, status, broker};
    if (!threads.launch("driver loop", [&] { link.agent_main(); }))
        std::_Exit(1);
    QCoreApplication::exec();
    std::_Exit(0);
}

// The bare exchange: takes a query, sends a response.
[[noreturn]] void runEcho(int socket)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    policy_query_message query;
    user_prompt_response response{};
    while (recv(socket, &query, sizeof query, 0) > 0)
        (void)send(socket, &response, sizeof response, MSG_NOSIGNAL);
    std::_Exit(0);
}

std::vector<std::chrono::nanoseconds> measureBare(const policy_query_message& message)
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        std::exit(1);
    const pid_t child = fork();
    if (child == 0)
        runEcho(ends[1]);
    std::vector<std::chrono::nanoseconds> times;
    for (int i = 0; i < warmUp + rounds; ++i) {
        const auto start = std::chrono::steady_clock::now();
        user_prompt_response response;
        if (send(ends[0], &message, sizeof message, 0) < 0
            || recv(ends[0], &response, sizeof response, 0) < 0)
            std::exit(1);
        if (i >= warmUp)
            times.push_back(std::chrono::steady_clock::now() - start);
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    return times;
}

std::vector<std::chrono::nanoseconds> measureAgent(
    const policy_query_message& message, Prompts kind)
{
    test::TemporaryDirectory directory;
    BenchDriver driver(directory.path());
    const pid_t child = fork();
    if (child == 0)
        runAgent(directory.path(), kind);
    driver.acceptAgent(true);
    std::vector<std::chrono::nanoseconds> times;
    for (int i = 0; i < warmUp + rounds; ++i) {
        const auto time = driver.exchange(message);
        if (i >= warmUp)
            times.push_back(time);
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    return times;
}

long peakMemoryInKib(pid_t pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:"))
            return std::strtol(line.c_str() + 6, nullptr, 10);
    return -1;
}

bool measureFlood(const policy_query_message& message)
{
    test::TemporaryDirectory directory;
    BenchDriver driver(directory.path());
    const pid_t child = fork();
    if (child == 0)
        runAgent(directory.path(), Prompts::None);
    driver.acceptAgent(false);
    const auto start = std::chrono::steady_clock::now();
    const std::size_t answered = driver.flood(message, floodSize);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    const double memory = static_cast<double>(peakMemoryInKib(child)) / 1024;
    std::printf("%zu queries at once, filter not active: %zu answered in %.2f s, peak memory %.1f "
                "MB\n",
        floodSize, answered, time.count(), memory);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    return answered == floodSize && memory > 0 && memory < largestMemory;
}

// Returns the ratio of the medians, 0 for the bare exchange itself.
double print(const char* what, std::vector<std::chrono::nanoseconds> times, double bareMedian)
{
    const double p50 = static_cast<double>(median(times).count()) / 1000;
    const double p99 = static_cast<double>(times[times.size() * 99 / 100].count()) / 1000;
    std::printf("%-36s p50 %8.1f us  p99 %8.1f us", what, p50, p99);
    if (bareMedian > 0)
        std::printf("  ratio of p50 %.2f", p50 / bareMedian);
    std::printf("\n");
    return bareMedian > 0 ? p50 / bareMedian : 0;
}

}

int main()
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const policy_query_message message = exampleQuery();
    auto bare = measureBare(message);
    const double bareMedian = static_cast<double>(median(bare).count()) / 1000;
    print("bare exchange", bare, 0);
    const double ratio = print(
        "agent, instantly answering prompt", measureAgent(message, Prompts::Instant), bareMedian);
    print("agent, advanced prompt's view model", measureAgent(message, Prompts::ViewModels),
        bareMedian);
    const bool floodHolds = measureFlood(message);
    return ratio <= largestRatio && floodHolds ? 0 : 1;
}
