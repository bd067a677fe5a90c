#include "hosts/linux/installers.h"
#include "hosts/linux/volumes.h"
#include "linux/tree.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace vossel {
namespace {

TEST(LinuxProcessesTest, ReadsParentsWhateverAProcessCallsItself)
{
    const test::Tree tree;
    const std::pair<int, const char*> rows[] = {
        {1, "1 (init) S 0 1 1 0 -1"},
        {12, "12 (a b) S 1 ) R 7 12 12 0 -1"},
        {13, "13 (()) S 1 ()) Z 12 1"},
        {14, "14 (cut) S"},
        {15, "15 (no number) S x 1"},
        {16, "no bracket at all"},
        {17, ""},
    };
    for (const auto& [pid, line] : rows)
        tree.file("/proc/" + std::to_string(pid) + "/stat", line);
    tree.folder("/proc/self");
    tree.folder("/proc/99999999999");
    const LinuxProcesses processes(tree.root() + "/");
    const std::pair<std::uint32_t, std::int32_t> parents[]
        = {{1, 0}, {12, 7}, {13, 12}, {14, -1}, {15, -1}, {16, -1}, {17, -1}, {18, -1}};
    for (const auto& [pid, parent] : parents)
        EXPECT_EQ(processes.parentOf(pid), parent) << pid;
    EXPECT_EQ(processes.all(), (std::vector<std::uint32_t>{1, 12, 13, 14, 15, 16, 17}));
}

TEST(LinuxProcessesTest, NamesExecutables)
{
    const test::Tree tree;
    tree.file("/bin/tool (deleted)", "really called so");
    tree.link("/proc/1/exe", "/nowhere/tool");
    tree.link("/proc/2/exe", "/nowhere/tool (deleted)");
    tree.link("/proc/3/exe", tree.at("/bin/tool (deleted)"));
    tree.link("/proc/4/exe", "/" + std::string(2000, 'x'));
    const LinuxProcesses processes(tree.root());
    EXPECT_EQ(processes.executablePath(1), "/nowhere/tool");
    EXPECT_EQ(processes.executablePath(2), "/nowhere/tool");
    EXPECT_EQ(processes.executablePath(3), tree.at("/bin/tool (deleted)"));
    EXPECT_EQ(processes.executablePath(4).size(), 1023u);
    EXPECT_EQ(processes.executablePath(5), "");
}

TEST(LinuxProcessesTest, FindsThisProcess)
{
    const LinuxProcesses processes;
    const auto self = static_cast<std::uint32_t>(::getpid());
    const auto all = processes.all();
    EXPECT_TRUE(std::binary_search(all.begin(), all.end(), self));
    EXPECT_EQ(processes.parentOf(self), ::getppid());
    EXPECT_EQ(processes.executablePath(self), std::filesystem::read_symlink("/proc/self/exe"));
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
    tree.folder("/sys/devices/vda");
    tree.link("/sys/dev/block/7:0", "../../devices/loop0");
    tree.link("/sys/dev/block/259:1", "../../devices/loop1/loop1p1");
    tree.link("/sys/dev/block/259:2", "../../devices/nvme0n1/nvme0n1p2");
    tree.link("/sys/dev/block/254:0", "../../devices/vda");
    const LinuxVolumes volumes(tree.root());
    const std::pair<const char*, bool> rows[]
        = {{"/mnt/My Disk", true}, {"/mnt/My Disk/", true}, {"/mnt/part/", true},
            {"/mnt/My Disk/folder", false}, {"/mnt/My", false}, {"/mnt/covered", false},
            {"/mnt/liar", false}, {"/mnt/disk", false}, {"/", false}, {"", false}};
    for (const auto& [place, image] : rows)
        EXPECT_EQ(volumes.isDiskImage(place), image) << place;
}

// A process that holds a record lock on a file until it is let go.
class Holder {
public:
    Holder(const std::string& path, short kind)
    {
        int ready[2] = {-1, -1};
        EXPECT_EQ(::pipe2(ready, O_CLOEXEC), 0);
        int end[2] = {-1, -1};
        EXPECT_EQ(::pipe2(end, O_CLOEXEC), 0);
        pid_ = ::fork();
        char byte = 0;
        if (pid_ == 0) {
            ::close(end[1]);
            const int fd = ::open(path.c_str(), O_RDWR);
            struct flock lock = {};
            lock.l_type = kind;
            byte = ::fcntl(fd, F_SETLK, &lock) == 0 ? 'y' : 'n';
            static_cast<void>(!::write(ready[1], &byte, 1));
            static_cast<void>(!::read(end[0], &byte, 1));
            ::_exit(0);
        }
        ::close(ready[1]);
        ::close(end[0]);
        const UniqueFd reading(ready[0]);
        end_.reset(end[1]);
        EXPECT_EQ(::read(reading.get(), &byte, 1), 1);
        EXPECT_EQ(byte, 'y');
    }
    ~Holder()
    {
        end_.reset();
        ::waitpid(pid_, nullptr, 0);
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;
    [[nodiscard]] std::uint32_t pid() const { return static_cast<std::uint32_t>(pid_); }

private:
    pid_t pid_ = -1;
    UniqueFd end_;
};

TEST(LinuxInstallersTest, AnInstallationIsWhoHoldsTheLock)
{
    const test::Tree tree;
    tree.link("/proc", "/proc"); // the kernel's own tables, real locks
    const std::string frontEnd = "/var/lib/dpkg/lock-frontend";
    const std::string inner = "/var/lib/dpkg/lock";
    tree.file(frontEnd, "");
    tree.file(inner, "");
    const LinuxInstallers installers(tree.root(), ::getuid());
    EXPECT_EQ(installers.runningInstaller(), 0u);
    {
        const Holder low(tree.at(inner), F_WRLCK);
        EXPECT_EQ(installers.runningInstaller(), low.pid());
        const Holder high(tree.at(frontEnd), F_WRLCK);
        EXPECT_EQ(installers.runningInstaller(), high.pid()) << "the front end lasts longer";
        EXPECT_EQ(LinuxInstallers(tree.root(), ::getuid() + 1).runningInstaller(), 0u);
        ::chmod(tree.at(frontEnd).c_str(), 0666);
        EXPECT_EQ(installers.runningInstaller(), low.pid()) << "a lock that anybody can take";
    }
    {
        ::chmod(tree.at(frontEnd).c_str(), 0644);
        const Holder reader(tree.at(frontEnd), F_RDLCK);
        EXPECT_EQ(installers.runningInstaller(), 0u) << "somebody only looks";
    }
    EXPECT_EQ(installers.runningInstaller(), 0u);
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
        tree.file(
            folder + "/status", "Name:\tx\nUid:\t" + id + "\t" + id + "\t" + id + "\t" + id + "\n");
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
