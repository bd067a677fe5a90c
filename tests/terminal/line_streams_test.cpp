#include "foundation/files.h"
#include "hosts/linux/thread_launcher.h"
#include "hosts/simulated/simulated_threads.h"
#include "hosts/terminal/line_output.h"
#include "hosts/terminal/line_reader.h"
#include "hosts/terminal/line_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <thread>
#include <vector>

namespace vossel::test {
namespace {

using testing::ElementsAre;

struct Pipe {
    UniqueFd read;
    UniqueFd write;

    Pipe()
    {
        int ends[2] = {-1, -1};
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        read.reset(ends[0]);
        write.reset(ends[1]);
    }
};

TEST(LineOutputTest, LinesOfManyThreadsNeverMix)
{
    Pipe pipe;
    LineOutput output(descriptorWriter(pipe.write.get()));
    // Longer than what a pipe takes in one piece.
    const std::string text(10'000, 't');
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int j = 0; j < 20; ++j)
                output.write({{"text", text}});
        });
    std::thread closer([&] {
        for (std::thread& thread : threads)
            thread.join();
        pipe.write.reset();
    });
    const auto bytes = readDescriptor(pipe.read.get(), 4'000'000, "the pipe");
    closer.join();
    ASSERT_TRUE(bytes);
    std::string expected;
    for (int i = 0; i < 80; ++i)
        expected += R"({"text":")" + text + "\"}\n";
    EXPECT_TRUE(*bytes == expected) << bytes->size();
    EXPECT_FALSE(output.isBroken());
}

TEST(LineOutputTest, GivesUpOnceNobodyReads)
{
    ::signal(SIGPIPE, SIG_IGN);
    Pipe pipe;
    pipe.read.reset();
    LineOutput broken(descriptorWriter(pipe.write.get()));
    broken.write({{"event", "status"}});
    EXPECT_TRUE(broken.isBroken());

    int tries = 0;
    LineOutput refused([&](std::string_view) { return ++tries < 2; });
    for (int i = 0; i < 4; ++i)
        refused.write({{"event", "status"}});
    EXPECT_EQ(tries, 2);
}

TEST(LineReaderTest, HandsOverEveryLineUntilTheEndOfInput)
{
    Pipe pipe;
    SimulatedMainThread mainThread;
    LinuxThreadLauncher threads;
    std::vector<std::string> lines;
    LineReader reader(pipe.read.get(), mainThread,
        [&](std::string_view line, bool) { lines.emplace_back(line); });
    ASSERT_TRUE(reader.start(threads));
    ASSERT_EQ(::write(pipe.write.get(), "one\ntw", 6), 6);
    ASSERT_TRUE(mainThread.runUntil([&] { return lines.size() == 1; }));
    ASSERT_EQ(::write(pipe.write.get(), "o\nthree", 7), 7);
    pipe.write.reset();
    ASSERT_TRUE(mainThread.runUntil([&] { return lines.size() == 3; }));
    EXPECT_THAT(lines, ElementsAre("one", "two", "three"));
    EXPECT_TRUE(threads.joinAll(std::chrono::seconds(10)));
}

TEST(LineReaderTest, StopsWhileItWaitsForInput)
{
    Pipe pipe;
    SimulatedMainThread mainThread;
    LinuxThreadLauncher threads;
    LineReader reader(pipe.read.get(), mainThread, [](std::string_view, bool) { FAIL(); });
    ASSERT_TRUE(reader.start(threads));
    reader.stop();
    EXPECT_TRUE(threads.joinAll(std::chrono::seconds(10)));
}

TEST(LineServicesTest, TellsNotificationsAndNotices)
{
    std::vector<std::string> lines;
    LineOutput output([&](std::string_view line) {
        lines.emplace_back(line);
        return true;
    });
    UserNotification notification;
    notification.title = "Camera";
    notification.informativeText = "in use by \xff";
    LineNotifications(output).deliver(notification);
    notification.actionButtonTitle = "Ignore";
    notification.alternateActions = {"Always", "Until restart"};
    LineNotifications(output).deliver(notification);
    Notice notice;
    notice.header = "Cannot Connect";
    notice.message = "No driver.";
    LineNotices(output).displayAndWait(notice);
    EXPECT_THAT(lines,
        ElementsAre("{\"event\":\"notification\",\"title\":\"Camera\",\"text\":\"in use by "
                    "\xEF\xBF\xBD\",\"actions\":[]}\n",
            "{\"event\":\"notification\",\"title\":\"Camera\",\"text\":\"in use by "
            "\xEF\xBF\xBD\",\"actions\":[\"Ignore\",\"Always\",\"Until restart\"]}\n",
            "{\"event\":\"notice\",\"header\":\"Cannot Connect\",\"message\":\"No driver.\"}\n"));
}

}
}
