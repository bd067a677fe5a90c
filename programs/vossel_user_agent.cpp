#include "foundation/glyphs.h"
#include "foundation/log.h"
#include "hosts/desktop/signal_calls.h"
#include "hosts/linux/process_control.h"
#include "programs/agent_assembly.h"
#include "programs/line_interface.h"
#include "programs/terminal_interface.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>

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
    std::string safe;
    for (const vossel::Glyph& glyph : vossel::toGlyphs(line, vossel::Charset::Utf8))
        safe += glyph.bytes;
    std::fprintf(stderr, "VosselUserAgent: %s\n", safe.c_str());
}

// How to ask, by its name; without one a terminal. Fails with the reason when it cannot be done
// here.
vossel::Result<vossel::UserInterface::Factory> interfaceCalled(
    const std::string& name, bool ownTerminalOnly, bool log)
{
    using vossel::Failure;
    if (name == "lines")
        return vossel::lineInterface(STDIN_FILENO, STDOUT_FILENO);
    if (!name.empty() && name != "terminal")
        return Failure{
            "there is no way to ask called \"" + name + "\" (there are: terminal, lines)"};
    if (log && ::isatty(STDERR_FILENO))
        return Failure{"the log would be written over the prompts; redirect it: 2>FILE"};
    auto terminals = vossel::TerminalChoice::open();
    if (!terminals)
        return Failure{terminals.reason() + " (a script asks with --prompt lines)"};
    if (ownTerminalOnly)
        terminals->useOwnOnly();
    return vossel::terminalInterface(std::move(*terminals));
}

int run(int argc, char** argv)
{
    std::string prompt;
    std::string prefix;
    bool ownTerminalOnly = false;
    bool log = false;
    CLI::App app("Asks the user about accesses that no rule decides.", "VosselUserAgent");
    app.set_version_flag("--version", VOSSEL_VERSION);
    app.add_option("--prompt", prompt,
        "How to ask: terminal (where nothing is said), lines (JSON events out, commands in)");
    app.add_flag("--own-terminal-only", ownTerminalOnly,
        "Never ask on the terminals of programs, which may press keys there themselves");
    app.add_option("--prefix", prefix, "Folder below which the product's files lie")
        ->envname("VOSSEL_PREFIX");
    app.add_flag("--log", log, "Write diagnostics to standard error");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        // Help and version arrive here as well, with status 0.
        return error.get_exit_code() == 0 ? app.exit(error) : refuse(error.what());
    }
    auto interface = interfaceCalled(prompt, ownTerminalOnly, log);
    if (!interface)
        return refuse(interface.reason());

    if (log)
        vossel::setLogSink(logToStandardError);
    if (!prefix.empty())
        prefix = std::filesystem::absolute(prefix).lexically_normal();
    const QCoreApplication application(argc, argv);
    return vossel::AgentAssembly(prefix, *interface).run();
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
