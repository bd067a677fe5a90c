#include "foundation/files.h"
#include "foundation/log.h"
#include "hosts/desktop/linux_workspace.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>

namespace vossel::test {
namespace {

TEST(LinuxWorkspaceTest, StartsProgramsWithoutThisOnesSignalMask)
{
    const TemporaryDirectory directory;
    const std::string program = directory / "a program";
    const std::string pipe = directory / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    ASSERT_TRUE(writeFile(program,
        "#!/bin/sh\nexec grep -E '^Sig(Blk|Ign)' /proc/self/status > '" + pipe + "'\n", 0755));
    sigset_t blocked;
    sigset_t before;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGHUP);
    ::sigaddset(&blocked, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
    ::signal(SIGPIPE, SIG_IGN);
    LinuxWorkspace().launchApplication(program);
    const UniqueFd reader(::open(pipe.c_str(), O_RDONLY | O_CLOEXEC)); // waits for the writer
    const auto status = readDescriptor(reader.get(), 1000, "the program");
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ASSERT_TRUE(status);
    EXPECT_EQ(*status, "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

TEST(LinuxWorkspaceTest, LogsWhatCannotBeStarted)
{
    std::string log;
    setLogSink([&](std::string_view line) { log += line; });
    LinuxWorkspace().launchApplication("/none");
    setLogSink({});
    EXPECT_EQ(log, "cannot open \"/none\": No such file or directory");
}

}
}
