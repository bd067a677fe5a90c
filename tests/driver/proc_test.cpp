#include "driver/blocked_call.h"
#include "driver/guarded_folder.h"
#include "driver/proc_file.h"
#include "driver/process_life.h"
#include "foundation/files.h"
#include "support/temporary_directory.h"
#include "wire/driver_messages.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

namespace vossel {
namespace {

constexpr std::int32_t readWrite = OPERATION_READ | OPERATION_WRITE;

std::string call(long number, std::initializer_list<long> arguments)
{
    std::string text = std::to_string(number);
    char word[24];
    for (const long argument : arguments) {
        std::snprintf(word, sizeof word, " 0x%lx", static_cast<unsigned long>(argument));
        text += word;
    }
    return text + " 0x7ffd7c2b4f58 0x7f1d2c3a4b5d\n";
}

TEST(BlockedCall, IsReadFromTheSystemCallsFlags)
{
    const struct {
        const char* what;
        std::string text;
        std::int32_t operations;
        bool mayCreate, known;
    } rows[] = {
        {"openat, reading", call(SYS_openat, {-100, 0x7ff0, O_CLOEXEC, 0, 0, 0}), OPERATION_READ,
            false, true},
        {"openat, writing", call(SYS_openat, {-100, 0x7ff0, O_WRONLY | O_APPEND, 0, 0, 0}),
            OPERATION_WRITE, false, true},
        {"openat, both", call(SYS_openat, {3, 0x7ff0, O_RDWR, 0, 0, 0}), readWrite, false, true},
        {"cutting while reading", call(SYS_openat, {3, 0x7ff0, O_TRUNC, 0, 0, 0}), readWrite, false,
            true},
        {"openat, creating", call(SYS_openat, {3, 0x7ff0, O_CREAT | O_WRONLY, 0600, 0, 0}),
            OPERATION_WRITE, true, true},
        {"a file without a name", call(SYS_openat, {3, 0x7ff0, O_TMPFILE | O_RDWR, 0600, 0, 0}),
            readWrite, true, true},
        {"a folder", call(SYS_openat, {3, 0x7ff0, O_DIRECTORY, 0, 0, 0}), OPERATION_READ, false,
            true},
        {"the access mode for neither", call(SYS_openat, {3, 0x7ff0, 3, 0, 0, 0}), readWrite, false,
            true},
        {"by handle", call(SYS_open_by_handle_at, {3, 0x7ff0, O_WRONLY, 0, 0, 0}), OPERATION_WRITE,
            false, true},
#ifdef SYS_open
        {"open", call(SYS_open, {0x7ff0, O_WRONLY, 0, 0, 0, 0}), OPERATION_WRITE, false, true},
        {"creat", call(SYS_creat, {0x7ff0, 0600, 0, 0, 0, 0}), OPERATION_WRITE, true, true},
#endif
        {"execve", call(SYS_execve, {1, 2, 3, 0, 0, 0}), OPERATION_EXECUTE, false, true},
        {"execveat", call(SYS_execveat, {1, 2, 3, 0, 0, 0}), OPERATION_EXECUTE, false, true},
        {"open in 32 bits", call(5, {0x7ff0, O_WRONLY, 0, 0, 0, 0}), readWrite, true, false},
        {"execve in 32 bits", call(11, {1, 2, 3, 0, 0, 0}), readWrite, true, false},
        {"openat in 32 bits", call(295, {3, 0x7ff0, O_RDWR, 0, 0, 0}), readWrite, true, false},
        {"flags in memory", call(SYS_openat2, {3, 1, 2, 24, 0, 0}), readWrite, true, false},
        {"the kernel on its own behalf", "running\n", readWrite, true, false},
        {"outside of any call", "-1 0x7ffd 0x7f1d\n", readWrite, true, false},
        {"cut short", std::to_string(SYS_openat) + " 0xffffff9c", readWrite, true, false},
        {"not a number", std::to_string(SYS_openat) + " 0x1 0x2 0xzz", readWrite, true, false},
        {"nothing", "", readWrite, true, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const BlockedCall parsed = parseBlockedCall(row.text);
        EXPECT_EQ(parsed.operations, row.operations);
        EXPECT_EQ(parsed.mayCreate, row.mayCreate);
        EXPECT_EQ(parsed.known, row.known);
    }
}

TEST(ProcFile, ReadsAThreadWhateverItCallsItself)
{
    const test::TemporaryDirectory proc;
    std::filesystem::create_directory(proc / "7");
    const std::string status = "Name:\t) Tgid:\\nPPid:\t9\nUmask:\t0022\nState:\tS (sleeping)\n"
                               "Tgid:\t5\nNgid:\t0\nPid:\t7\nPPid:\t3\nTracerPid:\t0\n"
                               "Uid:\t1000\t0\t0\t0\nGid:\t1000\t0\t0\t0\n";
    ASSERT_TRUE(writeFile(proc / "7/status", status));
    ASSERT_TRUE(writeFile(proc / "7/stat",
        "7 (a) S 1 (b) S 3 4 5 0 -1 4194560 10 0 0 0 1 2 3 4 20 0 1 0 987654321 100 50\n"));
    EXPECT_EQ(readThreadFacts(proc.path(), 7), (ThreadFacts{5, 3, 1000}));
    EXPECT_EQ(readStartTime(proc.path(), 7), 987654321u);

    EXPECT_FALSE(readThreadFacts(proc.path(), 8));
    EXPECT_EQ(readStartTime(proc.path(), 8), 0u);
    for (const char* broken : {"", "7 (a", "7 (a) S 1 2", "7 (a) S 3 4 5"}) {
        ASSERT_TRUE(writeFile(proc / "7/stat", broken));
        EXPECT_EQ(readStartTime(proc.path(), 7), 0u) << broken;
    }
}

TEST(GuardedFolder, IsNoPartOfTheRootFileSystem)
{
    const struct {
        const char* what;
        std::string mounts;
        bool apart;
    } rows[] = {
        {"another disk", "1 0 8:1 / / rw - ext4 /dev/vda1 rw\n2 1 8:2 / /g rw - ext4 /dev/vda2 rw",
            true},
        {"a subvolume by its number",
            "1 0 0:21 /@ / rw shared:1 - btrfs /dev/vda2 rw\n2 1 0:21 /@g /g rw - btrfs disk rw",
            false},
        {"a subvolume by its device, with blanks and further words",
            "1 0 0:21 /@ / rw shared:1 master:2 - btrfs /dev/a\\040b rw\n"
            "2 1 0:22 /@g /g rw - btrfs /dev/a\\040b rw",
            false},
        {"two of the same kind without a device",
            "1 0 0:21 / / rw - tmpfs tmpfs rw\n2 1 0:22 / /g rw - tmpfs tmpfs rw", true},
        {"a part of the root mounted over another disk",
            "1 0 8:1 / / rw - ext4 /dev/vda1 rw\n2 1 8:2 / /g rw - ext4 /dev/vda2 rw\n"
            "3 2 8:1 /srv /g rw - ext4 /dev/vda1 rw",
            false},
        {"no mount of its own", "1 0 8:1 / / rw - ext4 /dev/vda1 rw", false},
        {"sources cut off", "1 0 8:1 / / rw\n2 1 8:2 / /g rw -", true},
        {"no root", "2 1 8:2 / /g rw - ext4 /dev/vda2 rw", false},
        {"nothing", "", false},
    };
    const test::TemporaryDirectory root;
    std::filesystem::create_directories(root / "proc/self");
    for (const auto& row : rows) {
        ASSERT_TRUE(writeFile(root / "proc/self/mountinfo", row.mounts + "\n"));
        EXPECT_EQ(bool(isApartFromRoot(SystemRoot(root.path()), "/g")), row.apart) << row.what;
    }
    std::filesystem::remove(root / "proc/self/mountinfo");
    EXPECT_FALSE(isApartFromRoot(SystemRoot(root.path()), "/g"));
}

TEST(ProcessLife, EndsWithTheProcessAndKnowsItsNumbersSuccessors)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        char byte;
        ::close(ends[1]);
        ::_exit(::read(ends[0], &byte, 1) == 0 ? 0 : 1);
    }
    ::close(ends[0]);
    const std::uint64_t start = readStartTime("/proc", child);
    const auto lives = whileProcessLives(child, start);
    const auto anotherOnes = whileProcessLives(child, start + 1);
    EXPECT_TRUE(lives());
    EXPECT_FALSE(anotherOnes());
    EXPECT_TRUE(isThreadOf(child, child));
    EXPECT_FALSE(isThreadOf(child, ::getpid()));
    ::close(ends[1]);
    siginfo_t ended;
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT), 0);
    EXPECT_FALSE(lives()) << "although nobody has taken its exit status yet";
    ::waitpid(child, nullptr, 0);
    EXPECT_FALSE(isThreadOf(child, child));
}

}
}
