#include "frontends/lines/line_output.h"
#include "frontends/lines/line_reader.h"
#include "frontends/lines/line_services.h"
#include "hosts/linux/thread_launcher.h"
#include "hosts/simulated/simulated_threads.h"
#include "support/pipe.h"

#include <gtest/gtest.h>

#include <signal.h>

#include <atomic>
#include <thread>
#include <vector>

namespace vossel::test {
namespace {

TEST(LineOutputTest, LinesOfManyThreadsNeverMix)
{
    Pipe pipe;
    LineOutput output(descriptorWriter(pipe.write.get()));
    // Longer than what a pipe takes in one piece.
    const std::string text(10'000, 't');
    std::atomic<int> writing = 4;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int j = 0; j < 20; ++j)
                output.write({{"text", text}});
            if (--writing == 0)
                pipe.write.reset();
        });
    const auto bytes = readDescriptor(pipe.read.get(), 4'000'000, "the pipe");
    for (std::thread& thread : threads)
        thread.join();
    std::string expected;
    for (int i = 0; i < 80; ++i)
        expected += R"({"text":")" + text + "\"}\n";
    ASSERT_TRUE(bytes);
    EXPECT_TRUE(*bytes == expected) << bytes->size();
}

TEST(LineOutputTest, GivesUpOnceNobodyReads)
{
    ::signal(SIGPIPE, SIG_IGN);
    Pipe pipe;
    pipe.read.reset();
    int tries = 0;
    int told = 0;
    LineOutput output(
        [&, write = descriptorWriter(pipe.write.get())](std::string_view line) {
            ++tries;
            return write(line);
        },
        [&] { ++told; });
    for (int i = 0; i < 3; ++i)
        output.write({{"event", "status"}});
    EXPECT_TRUE(output.isBroken());
    EXPECT_EQ(tries, 1);
    EXPECT_EQ(told, 1);
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
    std::string told;
    LineOutput output([&](std::string_view line) {
        told += line;
        return true;
    });
    UserNotification notification;
    notification.title = "Camera";
    notification.informativeText = "in use by \xff";
    notification.actionButtonTitle = "Ignore";
    notification.alternateActions = {"Always"};
    LineNotifications(output).deliver(notification);
    LineNotices(output).displayAndWait({"Sorry", "No driver.", ""});
    EXPECT_EQ(told,
        R"({"event":"notification","title":"Camera","text":"in use by �",)"
        R"("actions":["Ignore","Always"]})"
        "\n"
        R"({"event":"notice","header":"Sorry","message":"No driver."})"
        "\n");
}

}
}
