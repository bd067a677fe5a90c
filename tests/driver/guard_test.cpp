#include "driver/guard/blocked_call.h"
#include "driver/guard/guarded_folder.h"
#include "foundation/files.h"
#include "support/temporary_directory.h"
#include "wire/driver_messages.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/syscall.h>

#include <filesystem>

namespace vossel {
namespace {

// As the kernel writes it.
std::string call(long number, unsigned first, unsigned second, unsigned third)
{
    char text[120];
    std::snprintf(text, sizeof text, "%ld 0x%x 0x%x 0x%x 0x0 0x0 0x0 0x7ffd7c2b 0x7f1d2c3a\n",
        number, first, second, third);
    return text;
}

TEST(BlockedCall, IsReadFromTheSystemCallsFlags)
{
    const auto openat = [](unsigned flags) { return call(SYS_openat, 3, 0x7ff0, flags); };
    const std::string cut = std::to_string(SYS_openat) + " 0x1 0x2";
    // Reads, writes, starts a program, may create, is not understood.
    const std::pair<std::string, const char*> rows[] = {
        {openat(O_CLOEXEC), "r"},
        {openat(O_WRONLY | O_APPEND), "w"},
        {openat(O_TRUNC), "rw"},
        {openat(O_CREAT | O_WRONLY), "wc"},
        {openat(O_TMPFILE | O_RDWR), "rwc"},
        {openat(3), "rw"},
        {call(SYS_open_by_handle_at, 3, 0x7ff0, O_WRONLY), "w"},
#ifdef SYS_open
        {call(SYS_open, 0x7ff0, O_WRONLY, 0), "w"},
        {call(SYS_creat, 0x7ff0, 0600, 0), "wc"},
#endif
        {call(SYS_execve, 1, 2, 3), "x"},
        {call(SYS_execveat, 1, 2, 3), "x"},
        {call(5, 0x7ff0, O_WRONLY, 0), "rwc?"}, // open and openat in 32 bits
        {call(295, 3, 0x7ff0, O_RDWR), "rwc?"},
        {call(SYS_openat2, 3, 1, 2), "rwc?"}, // its flags lie in memory
        {"-1 0x7ffd 0x7f1d\n", "rwc?"},
        {cut, "rwc?"},
        {cut + " 0xzz", "rwc?"},
        {"", "rwc?"},
    };
    for (const auto& [text, expected] : rows) {
        const BlockedCall parsed = parseBlockedCall(text);
        std::string shown;
        for (const auto& [operation, letter] :
            {std::pair(OPERATION_READ, 'r'), {OPERATION_WRITE, 'w'}, {OPERATION_EXECUTE, 'x'}})
            shown.append((parsed.operations & operation) != 0, letter);
        shown.append(parsed.mayCreate, 'c').append(!parsed.known, '?');
        EXPECT_EQ(shown, expected) << text;
    }
}

TEST(GuardedFolder, IsNoPartOfTheRootFileSystem)
{
    const std::string disk = "1 0 8:1 / / rw - ext4 /dev/vda1 rw\n";
    const std::string other = "2 1 8:2 / /g rw - ext4 /dev/vda2 rw\n";
    const std::string volume = "1 0 0:21 /@ / rw shared:1 master:2 - btrfs /dev/a\\040b rw\n";
    const std::pair<std::string, bool> rows[] = {
        {disk + other, true},
        {volume + "2 1 0:21 /@g /g rw - btrfs disk rw\n", false}, // the same by its number
        {volume + "2 1 0:22 /@g /g rw - btrfs /dev/a\\040b rw\n", false}, // by its device
        {"1 0 0:21 / / rw - tmpfs tmpfs rw\n2 1 0:22 / /g rw - tmpfs tmpfs rw\n", true},
        {disk + other + "3 2 8:1 /srv /g rw - ext4 /dev/vda1 rw\n", false}, // over the other
        {disk, false},
        {"1 0 8:1 / / rw\n2 1 8:2 / /g rw -\n", true}, // cut off
        {other, false},
        {"", false},
    };
    const test::TemporaryDirectory root;
    std::filesystem::create_directories(root / "proc/self");
    EXPECT_FALSE(isApartFromRoot(SystemRoot(root.path()), "/g"));
    for (const auto& [mounts, apart] : rows) {
        ASSERT_TRUE(writeFile(root / "proc/self/mountinfo", mounts));
        EXPECT_EQ(bool(isApartFromRoot(SystemRoot(root.path()), "/g")), apart) << mounts;
    }
}

}
}
