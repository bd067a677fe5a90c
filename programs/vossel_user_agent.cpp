#include "app/front_end.h"
#include "foundation/glyph_elision.h"
#include "foundation/log.h"
#include "frontends/lines/line_interface.h"
#include "frontends/terminal/terminal_interface.h"
#include "frontends/windows/window_interface.h"
#include "hosts/desktop/signal_calls.h"
#include "hosts/linux/process_control.h"
#include "programs/agent_process.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace vossel {
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
    const std::string safe = joined(toGlyphs(line, Charset::Utf8));
    std::fprintf(stderr, "VosselUserAgent: %s\n", safe.c_str());
}

struct Options {
    std::string prompt;
    std::string prefix;
    TerminalOptions terminal;
};

void declare(CLI::App& app, Options& options)
{
    app.set_version_flag("--version", VOSSEL_VERSION);
    app.add_option("--prompt", options.prompt,
        "How to ask: windows (where nothing is said and a display is at hand), terminal, lines "
        "(JSON events out, commands in)");
    app.add_flag("--own-terminal-only", options.terminal.ownTerminalOnly,
        "Never ask on the terminals of programs, which may press keys there themselves");
    app.add_option("--prefix", options.prefix, "Folder below which the product's files lie")
        ->envname("VOSSEL_PREFIX");
    app.add_flag(
        "--log", options.terminal.logToStandardError, "Write diagnostics to standard error");
}

// What the user has is tried in the order of what shows most.
int run(const Options& options, int argc, char** argv)
{
    const auto windows = windowFrontEnd();
    const auto terminal = terminalFrontEnd(options.terminal);
    const auto lines = lineFrontEnd(STDIN_FILENO, STDOUT_FILENO);
    const std::array frontEnds{windows.get(), terminal.get(), lines.get()};
    const auto chosen = chooseFrontEnd(options.prompt, frontEnds);
    if (!chosen)
        return refuse(chosen.reason());
    return (*chosen)->run(argc, argv, [&](const UserInterface::Factory& interface) {
        std::optional<QCoreApplication> application; // where the front end has none of its own
        if (!QCoreApplication::instance())
            application.emplace(argc, argv);
        if (options.terminal.logToStandardError)
            setLogSink(logToStandardError);
        const std::string prefix = options.prefix.empty()
            ? ""
            : std::filesystem::absolute(options.prefix).lexically_normal().string();
        return AgentProcess(prefix, interface).run();
    });
}

int runCommandLine(int argc, char** argv)
{
    Options options;
    CLI::App app("Asks the user about accesses that no rule decides.", "VosselUserAgent");
    declare(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        // Help and version arrive here as well, with status 0.
        return error.get_exit_code() == 0 ? app.exit(error) : refuse(error.what());
    }
    return run(options, argc, argv);
}

}
}

int main(int argc, char** argv)
{
    vossel::fillStandardDescriptors();
    vossel::LinuxProcessControl::blockHangUp();
    vossel::SignalCalls::block();
    try {
        return vossel::runCommandLine(argc, argv);
    } catch (const std::exception& error) {
        return vossel::refuse(error.what());
    }
}
