#include "foundation/glyph_elision.h"
#include "foundation/log.h"
#include "frontends/lines/line_interface.h"
#include "frontends/terminal/terminal_interface.h"
#include "frontends/windows/window_interface.h"
#include "hosts/desktop/signal_calls.h"
#include "hosts/linux/process_control.h"
#include "programs/agent_assembly.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <utility>

namespace {

constexpr int exitRefused = 2;

int refuse(const std::string& sentence)
{
    std::fprintf(stderr, "VosselUserAgent: %s\n", sentence.c_str());
    return exitRefused;
}

// A descriptor that is missing would be given to the first file or socket that is opened.
void fillStandardDescriptors()
{
    int fd = 0;
    do
        fd = ::open("/dev/null", O_RDWR);
    while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd >= 0)
        ::close(fd);
}

// Lines hold names and paths of others' choice: they must neither forge lines nor steer a terminal.
void logToStandardError(std::string_view line)
{
    const std::string safe = vossel::joined(vossel::toGlyphs(line, vossel::Charset::Utf8));
    std::fprintf(stderr, "VosselUserAgent: %s\n", safe.c_str());
}

// A pipe, a socket or a file: somebody has connected it on purpose.
bool isConnected(int fd)
{
    struct stat status { };
    return ::fstat(fd, &status) == 0 && !S_ISCHR(status.st_mode);
}

// How to ask where nothing is said: in windows where a display is, else on a terminal, else by
// lines to whoever started the agent for that.
std::string nameOfTheBest(const vossel::Result<vossel::WindowPlatform>& display)
{
    if (display)
        return "windows";
    const int terminal = ::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY);
    if (terminal >= 0)
        ::close(terminal);
    const bool forLines = isConnected(STDIN_FILENO) && isConnected(STDOUT_FILENO);
    return terminal < 0 && forLines ? "lines" : "terminal";
}

struct Options {
    std::string prompt;
    std::string prefix;
    bool ownTerminalOnly = false;
    bool log = false;
};

vossel::Result<vossel::UserInterface::Factory> terminal(
    const Options& options, const std::string& noDisplay)
{
    using vossel::Failure;
    if (options.log && ::isatty(STDERR_FILENO))
        return Failure{"the log would be written over the prompts; redirect it: 2>FILE"};
    auto terminals = vossel::TerminalChoice::open();
    if (!terminals)
        return Failure{noDisplay + terminals.reason() + " (a script asks with --prompt lines)"};
    if (options.ownTerminalOnly)
        terminals->useOwnOnly();
    return vossel::terminalInterface(std::move(*terminals));
}

// Runs the agent with this interface until it ends.
int serve(const Options& options, const vossel::UserInterface::Factory& interface)
{
    if (options.log)
        vossel::setLogSink(logToStandardError);
    const std::string prefix = options.prefix.empty()
        ? ""
        : std::filesystem::absolute(options.prefix).lexically_normal().string();
    return vossel::AgentAssembly(prefix, interface).run();
}

int run(int argc, char** argv)
{
    Options options;
    CLI::App app("Asks the user about accesses that no rule decides.", "VosselUserAgent");
    app.set_version_flag("--version", VOSSEL_VERSION);
    app.add_option("--prompt", options.prompt,
        "How to ask: windows (where nothing is said and a display is at hand), terminal, lines "
        "(JSON events out, commands in)");
    app.add_flag("--own-terminal-only", options.ownTerminalOnly,
        "Never ask on the terminals of programs, which may press keys there themselves");
    app.add_option("--prefix", options.prefix, "Folder below which the product's files lie")
        ->envname("VOSSEL_PREFIX");
    app.add_flag("--log", options.log, "Write diagnostics to standard error");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        // Help and version arrive here as well, with status 0.
        return error.get_exit_code() == 0 ? app.exit(error) : refuse(error.what());
    }
    auto platform = vossel::windowPlatformHere();
    const std::string best = options.prompt.empty() ? nameOfTheBest(platform) : options.prompt;
    if (best == "windows") {
        return platform ? vossel::withWindows(std::move(*platform), argc, argv,
                   [&](const auto& interface) { return serve(options, interface); })
                        : refuse(platform.reason());
    }
    auto interface = vossel::Result<vossel::UserInterface::Factory>(vossel::Failure{
        "there is no way to ask called \"" + best + "\" (there are: windows, terminal, lines)"});
    if (best == "lines")
        interface = vossel::lineInterface(STDIN_FILENO, STDOUT_FILENO);
    else if (best == "terminal")
        interface = terminal(options, options.prompt.empty() ? platform.reason() + "; " : "");
    if (!interface)
        return refuse(interface.reason());
    const QCoreApplication application(argc, argv);
    return serve(options, *interface);
}

}

int main(int argc, char** argv)
{
    fillStandardDescriptors();
    vossel::LinuxProcessControl::blockHangUp();
    vossel::SignalCalls::block();
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        return refuse(error.what());
    }
}
