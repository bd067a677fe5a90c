#include "frontends/terminal/hang_up_filter.h"
#include "frontends/terminal/terminal_choice.h"
#include "hosts/simulated/simulated_host.h"
#include "support/pty.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <csignal>
#include <cstdlib>

namespace vossel::test {
namespace {

using namespace std::chrono_literals;

// A shell on a terminal of its own that waits for a line, in the foreground, with a child in the
// background.
class ShellOnATerminal {
public:
    ShellOnATerminal()
    {
        int person = -1;
        shell_ = ::forkpty(&person, nullptr, nullptr, nullptr);
        if (shell_ == 0) {
            const char* arguments[]
                = {"sh", "-c", "set -m; sleep 1000 & echo pid $! end; read line", nullptr};
            const char* environment[] = {"TERM=vt100", "LANG=C.UTF-8", nullptr};
            ::execve("/bin/sh", const_cast<char**>(arguments), const_cast<char**>(environment));
            ::_exit(127);
        }
        person_.reset(person);
        std::string shown;
        for (char byte = 0; shown.find("end") == std::string::npos; shown += byte) {
            if (::read(person, &byte, 1) != 1)
                throw std::runtime_error("no shell");
        }
        background_ = std::stoi(shown.substr(shown.find("pid ") + 4));
    }
    ~ShellOnATerminal() { end(); }
    ShellOnATerminal(const ShellOnATerminal&) = delete;
    ShellOnATerminal& operator=(const ShellOnATerminal&) = delete;

    [[nodiscard]] std::int32_t shell() const { return shell_; }
    [[nodiscard]] std::int32_t background() const { return background_; }
    void end()
    {
        const pid_t shell = std::exchange(shell_, 0);
        if (shell <= 0)
            return;
        ::kill(background_, SIGKILL);
        ::kill(shell, SIGKILL);
        ::waitpid(shell, nullptr, 0);
    }

private:
    pid_t shell_ = -1;
    pid_t background_ = -1;
    UniqueFd person_;
};

TEST(TerminalChoiceTest, AsksInFrontOfTheProgramWhileNobodyElseReadsThere)
{
    ::setenv("TERM", "xterm", 1);
    Pty pty(80, 24);
    auto choice = *TerminalChoice::open(pty.path());
    const auto own = choice.own()->device;
    ShellOnATerminal other;
    const std::int32_t shell = other.shell();

    const auto place = choice.placeFor(shell);
    ASSERT_TRUE(place);
    EXPECT_NE(place->device->number(), own->number());
    EXPECT_EQ(place->charset, Charset::Utf8);
    EXPECT_TRUE(place->shared) << "its child may write there";
    EXPECT_TRUE(choice.isStillFree(*place, shell));
    // The shell reads that terminal's keys, so what runs behind it is asked about elsewhere.
    EXPECT_EQ(choice.placeFor(other.background())->device, own);
    EXPECT_FALSE(choice.placeFor(other.background())->shared);
    EXPECT_FALSE(choice.isStillFree(*place, other.background()));

    other.end();
    EXPECT_FALSE(choice.isStillFree(*place, shell));
    EXPECT_EQ(choice.placeFor(shell)->device, own);
    ShellOnATerminal third;
    choice.useOwnOnly();
    EXPECT_EQ(choice.placeFor(third.shell())->device, own);
    pty.vanish();
    EXPECT_FALSE(choice.placeFor(third.shell()));
    EXPECT_FALSE(choice.own());
}

TEST(HangUpFilterTest, PassesOverThoseOfAVanishedTerminal)
{
    SimulatedHost host;
    bool vanished = false;
    int reloads = 0;
    HangUpFilter filter(host.processControl, host.clock, [&] { return vanished; });
    filter.onHangUp([&] { ++reloads; });
    host.clock.advance(5s);
    host.processControl.hangUp();
    EXPECT_EQ(reloads, 1);
    vanished = true;
    host.processControl.hangUp();
    host.clock.advance(1s);
    host.processControl.hangUp();
    EXPECT_EQ(reloads, 1);
    host.clock.advance(1s);
    host.processControl.hangUp();
    EXPECT_EQ(reloads, 2);
}

}
}
