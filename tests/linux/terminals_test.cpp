#include "hosts/linux/terminals.h"
#include "linux/tree.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <array>
#include <pty.h>

namespace vossel {
namespace {

using namespace std::string_literals;

TEST(LinuxTerminalsTest, ReadsWhatTheKernelSays)
{
    const test::Tree tree;
    const std::string rest = " / /dev/pts rw - devpts devpts rw\n";
    tree.file("/proc/self/mountinfo", "21 20 0:24" + rest);
    tree.file("/proc/7/mountinfo", "91 90 0:24" + rest);
    tree.file("/proc/8/mountinfo", "91 90 0:55" + rest); // a container's
    const char* names[]
        = {"", "ttyS0", "sub/ttyS0", "../shadow", "/etc/x", "a//b", "a/..", "tty/", "tty\x1b", "."};
    for (std::size_t minor = 0; minor < std::size(names); ++minor)
        tree.file("/sys/dev/char/4:" + std::to_string(minor) + "/uevent",
            "MAJOR=4\nDEVNAME=" + std::string(names[minor]) + "\nX=1\n");
    const LinuxTerminals terminals(tree.root());
    const auto of = [&](const std::string& line) {
        tree.file("/proc/12/stat", "12 " + line);
        return terminals.of(12);
    };
    const std::pair<const char*, ControllingTerminal> rows[] = {
        {"(sh) S 1 70 7 34819 71 4194304 9", {"/dev/pts/3", makedev(136, 3), 70, 7, 71}},
        {"(a) R 1 2 3 4 5) S 1 70 7 34819 -1 0", {"/dev/pts/3", makedev(136, 3), 70, 7, -1}},
        {"(x) S 1 7 7 -1013533 7", {"/dev/pts/1048547", makedev(136, 1048547), 7, 7, 7}},
        {"(x) S 1 70 9 1025 70", {"/dev/ttyS0", makedev(4, 1), 70, 9, 70}},
        {"(x) S 1 70 9 1026 70", {"/dev/sub/ttyS0", makedev(4, 2), 70, 9, 70}},
    };
    for (const auto& [line, expected] : rows)
        EXPECT_EQ(of(line), expected) << line;
    // No terminal, a group outside, a container's, a leader that is gone, no such device, broken.
    for (const char* line : {"(x) S 1 70 7 0 -1", "(x) S 1 0 0 34819 70", "(x) S 1 70 8 34819 70",
             "(x) S 1 70 9 34819 70", "(x) S 1 70 7 35075 70", "(x) S 1 70 7 34819",
             "(x) S 1 70 7 x 70", "(x)", "x"})
        EXPECT_FALSE(of(line)) << line;
    for (const int device : {1024, 1027, 1028, 1029, 1030, 1031, 1032, 1033})
        EXPECT_FALSE(of("(x) S 1 70 7 " + std::to_string(device) + " 70")) << device;
    EXPECT_FALSE(terminals.of(13));
}

TEST(LinuxTerminalsTest, ReadsTheEnvironment)
{
    const test::Tree tree;
    const std::string longest(4096, 'v');
    tree.file("/proc/12/environ",
        "TERMINAL=no\0TERM\0=TERM=x\0TERM=a=\xff\n\0TERM=second\0EMPTY=\0LONG="s + longest
            + "\0LONGER=v"s + longest + "\0LAST=cut"s);
    const LinuxTerminals terminals(tree.root());
    EXPECT_EQ(terminals.environmentOf(12, "TERM"), "a=\xff\n");
    EXPECT_EQ(terminals.environmentOf(12, "EMPTY"), "");
    EXPECT_EQ(terminals.environmentOf(12, "LONG"), longest);
    EXPECT_EQ(terminals.environmentOf(12, "LAST"), "cut");
    for (const char* variable : {"LONGER", "MISSING", "", "TERM=a"})
        EXPECT_FALSE(terminals.environmentOf(12, variable)) << variable;
}

TEST(LinuxTerminalsTest, KnowsAShellsTerminal)
{
    int controller = -1;
    std::array<char, 64> path = {};
    const pid_t shell = ::forkpty(&controller, path.data(), nullptr, nullptr);
    if (shell == 0) {
        const char* arguments[] = {"sh", "-c", "echo ready; read end", nullptr};
        const char* environment[] = {"TERM=vt100", nullptr};
        ::execve("/bin/sh", const_cast<char**>(arguments), const_cast<char**>(environment));
        ::_exit(127);
    }
    ASSERT_GT(shell, 0) << errorText(errno);
    UniqueFd own(controller);
    std::string shown;
    for (char byte = 0; shown.find("ready") == std::string::npos;) {
        ASSERT_EQ(::read(own.get(), &byte, 1), 1);
        shown += byte;
    }
    struct stat file = {};
    EXPECT_EQ(::stat(path.data(), &file), 0);
    const LinuxTerminals terminals;
    EXPECT_EQ(
        terminals.of(shell), (ControllingTerminal{path.data(), file.st_rdev, shell, shell, shell}));
    EXPECT_EQ(terminals.environmentOf(shell, "TERM"), "vt100");
    EXPECT_EQ(terminals.foregroundOf(file.st_rdev, shell), shell);
    EXPECT_FALSE(terminals.foregroundOf(file.st_rdev + 1, shell));
    EXPECT_FALSE(terminals.hasOthers(shell, {shell}));
    EXPECT_TRUE(terminals.hasOthers(shell, {::getpid()}));
    own.reset(); // hangs up
    ::waitpid(shell, nullptr, 0);
    EXPECT_FALSE(terminals.of(shell));
}

}
}
