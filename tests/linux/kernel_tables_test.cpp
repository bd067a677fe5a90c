#include "hosts/linux/installers.h"
#include "hosts/linux/proc_file.h"
#include "hosts/linux/process_life.h"
#include "hosts/linux/volumes.h"
#include "linux/tree.h"
#include "support/child_process.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vossel {
namespace {

// A process chooses its own name, and may put anything into it.
TEST(LinuxProcessesTest, ReadsProcessesWhateverTheyCallThemselves)
{
    const test::Tree tree;
    const SystemRoot root(tree.root());
    const std::tuple<std::uint32_t, std::int32_t, std::uint64_t, const char*> rows[] = {
        {1, 0, 98765, "1 (init) S 0 1 1 0 -1 4194560 10 0 0 0 1 2 3 4 20 0 1 0 98765 100\n"},
        {7, 1, 98765, "7 (a) R 5 (b) S 1 4 5 0 -1 4194560 1 0 0 0 1 2 3 4 20 0 1 0 98765 1\n"},
        {12, 7, 0, "12 (a b) S 1 ) R 7 12 12 0 -1"},
        {14, -1, 0, "14 (cut) S"},
        {15, -1, 0, "15 (no number) S x 1"},
        {16, -1, 0, "no bracket at all"},
        {17, -1, 0, ""},
    };
    tree.folder("/proc/self");
    tree.folder("/proc/99999999999");
    const LinuxProcesses processes(tree.root() + "/");
    for (const auto& [pid, parent, start, line] : rows) {
        EXPECT_EQ(processes.parentOf(pid), -1) << "it is not there";
        tree.file("/proc/" + std::to_string(pid) + "/stat", line);
        EXPECT_EQ(processes.parentOf(pid), parent) << line;
        EXPECT_EQ(readStartTime(root, static_cast<std::int32_t>(pid)), start) << line;
    }
    EXPECT_EQ(processes.all(), (std::vector<std::uint32_t>{1, 7, 12, 14, 15, 16, 17}));
    tree.file("/proc/7/status",
        "Name:\t) Tgid:\\nPPid:\t9\nTgid:\t5\nPid:\t7\nPPid:\t3\nUid:\t1000\t0\t1\t2\n");
    EXPECT_EQ(readThreadFacts(root, 7), (ThreadFacts{5, 3, 1000, 0, 1}));
    EXPECT_FALSE(readThreadFacts(root, 8));
}

// The agent and the driver name a program by the same file.
TEST(LinuxProcessesTest, NamesWhatAProcessRunsBeforeItWasRenamed)
{
    const test::Tree tree;
    tree.link("/proc/2/exe", "/nowhere/tool (deleted)");
    tree.link("/proc/4/exe", "/" + std::string(2000, 'x'));
    const LinuxProcesses processes(tree.root());
    EXPECT_EQ(processes.executablePath(2), "/nowhere/tool");
    EXPECT_EQ(processes.executablePath(4).size(), 1023u);
    EXPECT_EQ(processes.executablePath(5), "");
    const std::pair<const char*, bool> rows[]
        = {{"/gone", false}, {"/linked", true}, {"/called so (deleted)", false}};
    for (const auto& [name, linked] : rows) {
        const std::string path = tree.at(name);
        std::filesystem::copy_file("/bin/cat", path);
        if (linked)
            std::filesystem::create_hard_link(path, tree.at("/other"));
        const test::ChildProcess program({path}, "/dev/null");
        const auto pid = static_cast<std::uint32_t>(program.pid());
        EXPECT_EQ(LinuxProcesses().executablePath(pid), path);
        if (!path.ends_with(" (deleted)"))
            std::filesystem::remove(path);
        EXPECT_EQ(LinuxProcesses().executablePath(pid), path);
        EXPECT_EQ(readExecutable(SystemRoot(), program.pid())->path, path);
    }
}

TEST(ProcessLifeTest, EndsWithTheProcessAndKnowsItsNumbersSuccessors)
{
    test::ChildProcess child({"cat"}, "/dev/null");
    const std::uint64_t start = readStartTime(SystemRoot(), child.pid());
    const auto lives = whileProcessLives(child.pid(), start);
    EXPECT_TRUE(lives());
    EXPECT_FALSE(whileProcessLives(child.pid(), start + 1)());
    child.closeInput();
    siginfo_t ended;
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child.pid()), &ended, WEXITED | WNOWAIT), 0);
    EXPECT_FALSE(lives()) << "although nobody has taken its exit status yet";
}

TEST(LinuxVolumesTest, TellsImagesByTheirDevice)
{
    const test::Tree tree;
    tree.file("/proc/self/mountinfo",
        "20 1 254:0 / / rw - ext4 /dev/root rw\n"
        "nonsense\n"
        "21 20 7:0 / /mnt/My\\040Disk rw,relatime shared:1 - iso9660 /dev/loop0 ro\n"
        "22 20 259:1 / /mnt/part rw - ext4 /dev/loop1p1 rw\n"
        "23 20 7:0 / /mnt/covered rw - ext4 /dev/loop0 rw\n"
        "24 23 254:0 / /mnt/covered rw - ext4 /dev/vda rw\n"
        "25 20 0:55 / /mnt/liar rw - fuse /dev/loop0 rw\n"
        "26 20 259:2 / /mnt/disk rw - ext4 /dev/nvme0n1p2 rw\n");
    tree.folder("/sys/devices/loop0/loop");
    tree.folder("/sys/devices/loop1/loop");
    tree.file("/sys/devices/loop1/loop1p1/partition", "1\n");
    tree.file("/sys/devices/nvme0n1/nvme0n1p2/partition", "2\n");
    tree.link("/sys/dev/block/7:0", "../../devices/loop0");
    tree.link("/sys/dev/block/259:1", "../../devices/loop1/loop1p1");
    tree.link("/sys/dev/block/259:2", "../../devices/nvme0n1/nvme0n1p2");
    const LinuxVolumes volumes(tree.root());
    const std::pair<const char*, bool> rows[]
        = {{"/mnt/My Disk", true}, {"/mnt/My Disk/", true}, {"/mnt/part/", true},
            {"/mnt/My Disk/folder", false}, {"/mnt/My", false}, {"/mnt/covered", false},
            {"/mnt/liar", false}, {"/mnt/disk", false}, {"/", false}, {"", false}};
    for (const auto& [place, image] : rows)
        EXPECT_EQ(volumes.isDiskImage(place), image) << place;
}

TEST(LinuxInstallersTest, AnInstallationIsWhoHoldsTheLock)
{
    const test::Tree tree;
    tree.link("/proc", "/proc"); // the kernel's own tables, real locks
    const std::string path = "/var/lib/dpkg/lock-frontend";
    tree.file(path, "");
    const UniqueFd file(::open(tree.at(path).c_str(), O_RDWR | O_CLOEXEC));
    const auto self = static_cast<std::uint32_t>(::getpid());
    const struct {
        short lock;
        mode_t mode;
        uid_t owner;
        std::uint32_t installer;
    } rows[] = {
        {F_UNLCK, 0644, ::getuid(), 0}, {F_RDLCK, 0644, ::getuid(), 0}, // somebody only looks
        {F_WRLCK, 0644, ::getuid(), self}, {F_WRLCK, 0644, ::getuid() + 1, 0},
        {F_WRLCK, 0666, ::getuid(), 0}, // anybody could take it
    };
    for (const auto& row : rows) {
        struct flock lock = {};
        lock.l_type = row.lock;
        ASSERT_EQ(::fcntl(file.get(), F_SETLK, &lock), 0);
        ::fchmod(file.get(), row.mode);
        EXPECT_EQ(LinuxInstallers(tree.root(), row.owner).runningInstaller(), row.installer)
            << &row - rows;
    }
}

TEST(LinuxInstallersTest, TheOutermostManagerCounts)
{
    const test::Tree tree;
    tree.file("/proc/locks", "");
    tree.file("/var/lib/pacman/db.lck", "");
    const auto process = [&tree](int pid, int parent, const char* executable, int user) {
        const std::string folder = "/proc/" + std::to_string(pid);
        const std::string id = std::to_string(user);
        tree.file(
            folder + "/stat", std::to_string(pid) + " (pacman) S " + std::to_string(parent) + " 1");
        tree.file(folder + "/status",
            "Name:\tx\nTgid:\t1\nPPid:\t1\nUid:\t" + id + "\t" + id + "\t" + id + "\t" + id + "\n");
        tree.link(folder + "/exe", executable);
    };
    process(1, 0, "/sbin/init", 0);
    process(20, 1, "/usr/bin/pacman", 1000); // anybody may run it
    process(21, 1, "/home/mallory/pacman", 0);
    const LinuxInstallers installers(tree.root());
    EXPECT_EQ(installers.runningInstaller(), 0u);
    process(30, 1, "/usr/libexec/packagekitd", 0);
    process(31, 30, "/usr/bin/sh", 0);
    process(32, 31, "/usr/bin/pacman", 0);
    EXPECT_EQ(installers.runningInstaller(), 30u);
    std::filesystem::remove(tree.at("/var/lib/pacman/db.lck"));
    EXPECT_EQ(installers.runningInstaller(), 0u);
    EXPECT_TRUE(installers.isInstallDaemon("/usr/bin/dpkg"));
    EXPECT_FALSE(installers.isInstallDaemon("/usr/bin/apt")) << "it unpacks nothing itself";
    EXPECT_FALSE(installers.isInstallDaemon("/home/mallory/usr/bin/dpkg"));
}

}
}
