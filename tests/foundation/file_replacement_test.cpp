#include "foundation/file_replacement.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <tuple>

namespace vossel {
namespace {

class Replacement : public testing::Test {
protected:
    static int replace(const std::string& path, std::string_view content)
    {
        FileReplacement file(path, 0640);
        if (const int error = file.open(); error != 0)
            return error;
        const int appended = file.append(content);
        const int committed = file.commit();
        return appended != 0 ? appended : committed;
    }
    static std::string contentOf(const std::string& path) { return *readFile(path, 10'000); }
    static struct stat factsOf(const std::string& path)
    {
        struct stat facts = {};
        EXPECT_EQ(::lstat(path.c_str(), &facts), 0);
        return facts;
    }
    [[nodiscard]] std::ptrdiff_t filesInFolder() const
    {
        return std::distance(std::filesystem::directory_iterator(root_.path()), {});
    }

    test::TemporaryDirectory root_;
    std::string path_ = root_ / "file";
};

TEST_F(Replacement, TellsWhyItFailed)
{
    ASSERT_TRUE(writeFile(path_, "old"));
    std::filesystem::create_symlink(path_, root_ / "link");
    ASSERT_EQ(::mkfifo((root_ / "fifo").c_str(), 0600), 0);
    const std::tuple<const char*, std::string, int> rows[] = {
        {"a link", root_ / "link", ELOOP},
        {"a pipe that nobody reads, which must not wait for ever", root_ / "fifo", ENXIO},
        {"a folder", root_.path(), EISDIR},
        {"in a missing folder", root_ / "missing/file", ENOENT},
        {"no name", "", ENOENT},
        {"a NUL", path_ + std::string("\0x", 2), EINVAL},
        {"a full device", "/dev/full", ENOSPC},
        {"a device", "/dev/null", 0},
    };
    for (const auto& [story, path, error] : rows)
        EXPECT_EQ(replace(path, "new"), error) << story;
    EXPECT_EQ(contentOf(path_), "old");
    EXPECT_EQ(filesInFolder(), 3);
}

TEST_F(Replacement, AFailedWriteLeavesTheOldFile)
{
    ASSERT_TRUE(writeFile(path_, "old"));
    rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit little = {10, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &little), 0);
    const std::string large(1'000'000, 'x');
    const int errors[] = {replace(path_, large), replace(root_ / "new", large)};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(errors[0], EFBIG);
    EXPECT_EQ(errors[1], EFBIG);
    EXPECT_EQ(contentOf(path_) + contentOf(root_ / "new"), "old");

    // Nothing is to be written, and there is no descriptor left for a second file.
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const UniqueFd next(::dup(0));
    const rlimit few = {static_cast<rlim_t>(next.get()) + 2, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    const int error = replace(path_, "");
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(error, EMFILE);
    EXPECT_EQ(contentOf(path_), "old");
    EXPECT_EQ(filesInFolder(), 2);
}

TEST_F(Replacement, KeepsItsOwnerAndWritesWhereTheFolderIsClosed)
{
    const bool isRoot = ::getuid() == 0;
    const unsigned owner = isRoot ? 4'321 : ::getuid();
    const unsigned group = isRoot ? 1'234 : ::getgid();
    ASSERT_TRUE(writeFile(path_, "old", 0600));
    ASSERT_EQ(::chown(path_.c_str(), owner, group), 0);
    const auto old = factsOf(path_).st_ino;
    EXPECT_EQ(replace(path_, "new"), 0);
    const auto replaced = factsOf(path_);
    EXPECT_EQ(std::tuple(replaced.st_uid, replaced.st_gid, replaced.st_mode & 07777U),
        std::tuple(owner, group, 0640U));
    EXPECT_NE(replaced.st_ino, old);

    // Permissions bind: root is another user, who owns the folder.
    constexpr unsigned nobody = 65'534;
    ASSERT_TRUE(!isRoot
        || (::chown(root_.path().c_str(), nobody, nobody) == 0 && ::setegid(nobody) == 0
            && ::seteuid(nobody) == 0));
    const auto own = root_ / "own";
    EXPECT_TRUE(writeFile(own, std::string(1'000, 'x'), 0666));
    const auto inode = factsOf(own).st_ino;
    EXPECT_EQ(::chmod(root_.path().c_str(), 0500), 0);
    EXPECT_EQ(replace(own, "new"), 0);
    EXPECT_EQ(replace(root_ / "another", "new"), EACCES);
    EXPECT_EQ(contentOf(own), "new");
    EXPECT_EQ(factsOf(own).st_mode & 07777U, 0640U);
    EXPECT_EQ(factsOf(own).st_ino, inode);
    EXPECT_EQ(::chmod(root_.path().c_str(), 0700), 0);
    EXPECT_EQ(filesInFolder(), 2);
    EXPECT_TRUE(!isRoot || (::seteuid(0) == 0 && ::setegid(0) == 0));
}

}
}
