#include "foundation/files.h"
#include "support/pipe.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <thread>

namespace vossel {
namespace {

using test::Pipe;
using test::TemporaryDirectory;

bool isOpen(int fd)
{
    return ::fcntl(fd, F_GETFD) != -1;
}

TEST(UniqueFd, ClosesWhatItOwnsOnce)
{
    Pipe pipe;
    const int read = pipe.read.get();
    const int write = pipe.write.get();
    UniqueFd moved = std::move(pipe.read);
    EXPECT_FALSE(pipe.read);
    moved.reset(moved.get());
    EXPECT_TRUE(isOpen(read));
    moved = std::move(pipe.write);
    EXPECT_FALSE(isOpen(read));
    const UniqueFd released(moved.release());
    moved.reset();
    EXPECT_TRUE(isOpen(write));
}

TEST(Files, ReadsUpToTheLimit)
{
    const TemporaryDirectory directory;
    const auto path = directory / "file";
    const std::string content(200'000, '\0');
    ASSERT_TRUE(writeFile(path, content, 0600));
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));

    EXPECT_EQ(*readFile(path, content.size()), content);
    EXPECT_EQ(readFile(path, content.size() - 1).reason(), path + ": more than 199999 bytes");
    EXPECT_FALSE(readFile("/dev/zero", 1000));

    ASSERT_TRUE(writeFile(path, ""));
    EXPECT_EQ(*readFile(path, 0), "");
    // A file that announces no size still has content.
    EXPECT_NE(readFile("/proc/self/status", 100'000)->find("VmSize"), std::string::npos);
}

TEST(Files, SaysWhyAFileCannotBeReadOrWritten)
{
    const TemporaryDirectory directory;
    const auto missing = directory / "missing/file";
    EXPECT_EQ(readFile(missing, 10).reason(), missing + ": " + errorText(ENOENT));
    EXPECT_EQ(writeFile(missing, "x").reason(), missing + ": " + errorText(ENOENT));
    EXPECT_EQ(readFile(directory.path(), 10).reason(), directory.path() + ": " + errorText(EISDIR));
    EXPECT_EQ(readDescriptor(-1, 10, "nothing").reason(), "nothing: " + errorText(EBADF));
    EXPECT_FALSE(writeFile("/dev/full", "x"));
    // A NUL would cut the path and name another file.
    ASSERT_TRUE(writeFile(directory / "a", "x"));
    const auto cut = directory / std::string("a\0b", 3);
    EXPECT_FALSE(readFile(cut, 10) || writeFile(cut, "x") || fileExists(cut) || isDirectory(cut)
        || opensForReading(cut) || isWritable(cut));
}

TEST(Files, ReadsPipesToTheirEnd)
{
    const TemporaryDirectory directory;
    const auto fifo = directory / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(*readFile(fifo, 10), ""); // nobody writes to it: it must not wait for ever

    Pipe pipe;
    ASSERT_EQ(::fcntl(pipe.read.get(), F_SETFL, O_NONBLOCK), 0);
    const std::string content(300'000, 'x'); // more than a pipe holds
    std::thread writer([&] {
        EXPECT_TRUE(writeFile("/dev/fd/" + std::to_string(pipe.write.get()), content));
        pipe.write.reset();
    });
    // By its path, as /dev/stdin is given.
    const auto read = readFile("/dev/fd/" + std::to_string(pipe.read.get()), content.size());
    pipe.read.reset();
    writer.join();
    EXPECT_TRUE(read && *read == content);
}

TEST(Files, TellsWhatIsThere)
{
    const TemporaryDirectory directory;
    const auto file = directory / "file";
    const auto link = directory / "link";
    const auto closed = directory / "closed"; // even root cannot open a socket
    ASSERT_TRUE(writeFile(file, "x"));
    ASSERT_EQ(::symlink("nowhere", link.c_str()), 0);
    ASSERT_EQ(::mknod(closed.c_str(), S_IFSOCK | 0600, 0), 0);
    EXPECT_TRUE(fileExists(file) && opensForReading(file) && isWritable(file));
    EXPECT_TRUE(isDirectory(directory.path()) && !isDirectory(file));
    EXPECT_FALSE(fileExists(link) || opensForReading(link) || isWritable(link));
    EXPECT_TRUE(fileExists(closed) && !opensForReading(closed));
}

}
}
