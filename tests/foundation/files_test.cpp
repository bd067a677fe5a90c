#include "foundation/files.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <thread>

namespace vossel {
namespace {

using test::TemporaryDirectory;

class Pipe {
public:
    Pipe()
    {
        std::array<int, 2> ends = {};
        if (::pipe2(ends.data(), O_CLOEXEC) == 0) {
            out = UniqueFd(ends[0]);
            in = UniqueFd(ends[1]);
        }
    }
    UniqueFd out;
    UniqueFd in;
};

bool isOpen(int fd)
{
    return ::fcntl(fd, F_GETFD) != -1;
}

TEST(UniqueFd, ClosesWhatItOwnsOnce)
{
    Pipe pipe;
    const int out = pipe.out.get();
    const int in = pipe.in.get();
    ASSERT_TRUE(isOpen(out) && isOpen(in));
    UniqueFd moved = std::move(pipe.out);
    EXPECT_FALSE(pipe.out);
    moved.reset(moved.get());
    EXPECT_TRUE(isOpen(out));
    moved = std::move(pipe.in);
    EXPECT_FALSE(isOpen(out));
    UniqueFd released(moved.release());
    moved.reset();
    EXPECT_TRUE(isOpen(in));
    released.reset();
    EXPECT_FALSE(isOpen(in));
}

TEST(Files, ReadsUpToTheLimit)
{
    const TemporaryDirectory directory;
    const auto path = directory / "file";
    const std::string content(200'000, '\0');
    ASSERT_TRUE(writeFile(path, content, 0600));
    struct stat facts = {};
    ASSERT_EQ(::stat(path.c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777U, 0600U);

    const auto whole = readFile(path, content.size());
    ASSERT_TRUE(whole) << whole.reason();
    EXPECT_EQ(*whole, content);
    const auto tooLong = readFile(path, content.size() - 1);
    ASSERT_FALSE(tooLong);
    EXPECT_EQ(tooLong.reason(), path + ": more than 199999 bytes");
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

    for (const bool blocking : {true, false}) {
        Pipe pipe;
        ASSERT_EQ(::fcntl(pipe.out.get(), F_SETFL, blocking ? 0 : O_NONBLOCK), 0);
        const std::string content(300'000, 'x'); // more than a pipe holds
        std::thread writer([&] {
            EXPECT_TRUE(writeFile("/dev/fd/" + std::to_string(pipe.in.get()), content));
            pipe.in.reset();
        });
        const auto read = readDescriptor(pipe.out.get(), content.size(), "pipe");
        pipe.out.reset();
        writer.join();
        ASSERT_TRUE(read) << read.reason();
        EXPECT_EQ(*read, content);
    }
    // By its path, as /dev/stdin is given.
    Pipe pipe;
    ASSERT_EQ(::write(pipe.in.get(), "abc", 3), 3);
    pipe.in.reset();
    EXPECT_EQ(*readFile("/dev/fd/" + std::to_string(pipe.out.get()), 3), "abc");
}

TEST(Files, TellsWhatIsThere)
{
    const TemporaryDirectory directory;
    const auto file = directory / "file";
    const auto link = directory / "link";
    ASSERT_TRUE(writeFile(file, "x"));
    ASSERT_EQ(::symlink("nowhere", link.c_str()), 0);
    EXPECT_TRUE(fileExists(file) && opensForReading(file) && isWritable(file));
    EXPECT_FALSE(isDirectory(file));
    EXPECT_TRUE(isDirectory(directory.path()) && fileExists(directory.path()));
    EXPECT_FALSE(fileExists(link) || opensForReading(link) || isWritable(link));
    if (::geteuid() == 0)
        GTEST_SKIP() << "root reads and writes whatever the mode says";
    ASSERT_EQ(::chmod(file.c_str(), 0), 0);
    EXPECT_TRUE(fileExists(file));
    EXPECT_FALSE(opensForReading(file) || isWritable(file));
}

}
}
