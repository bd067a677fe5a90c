#include "hosts/desktop/qt_main_thread.h"
#include "hosts/desktop/qt_timers.h"
#include "hosts/desktop/signal_calls.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>

#include <stdexcept>
#include <string>
#include <thread>

namespace vossel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

struct EventLoopTest : testing::Test {
    int argc = 0;
    QCoreApplication application{argc, nullptr};
    QtMainThread mainThread;
    std::vector<std::string> done;

    std::function<void()> note(std::string what)
    {
        return [this, what] { done.push_back(what); };
    }
};

TEST_F(EventLoopTest, TasksAreDoneInOrderAndInNestedLoops)
{
    mainThread.perform(note("before the loop"));
    mainThread.perform([&] {
        mainThread.perform(note("2"));
        mainThread.performAndWait(note("1, at once"));
        QEventLoop nested;
        mainThread.perform([&] { nested.quit(); });
        nested.exec();
        done.emplace_back("3, after the nested loop");
        throw std::runtime_error("must not end the loop");
    });
    std::thread other([&] {
        EXPECT_FALSE(mainThread.isCurrent());
        bool ran = false;
        mainThread.performAndWait([&] { ran = mainThread.isCurrent(); });
        EXPECT_TRUE(ran);
        mainThread.perform([] { QCoreApplication::quit(); });
    });
    QCoreApplication::exec();
    other.join();
    EXPECT_THAT(
        done, ElementsAre("before the loop", "1, at once", "2", "3, after the nested loop"));
}

TEST_F(EventLoopTest, WhoWaitsGoesOnWhenTheLoopIsOver)
{
    std::thread waiting([&] { mainThread.performAndWait(note("never")); });
    mainThread.shutDown();
    waiting.join();
    mainThread.perform(note("never"));
    QCoreApplication::processEvents();
    EXPECT_THAT(done, ElementsAre());
}

TEST_F(EventLoopTest, TimersFireOnceUnlessCancelled)
{
    QtTimers timers;
    const auto cancelled = timers.once(1ms, note("cancelled"));
    Timers::Timer third = 0;
    (void)timers.once(20ms, [&] {
        done.emplace_back("second");
        timers.cancel(third);
        (void)timers.once(0ms, [] { QCoreApplication::quit(); });
    });
    const auto first = timers.once(2ms, note("first"));
    third = timers.once(20ms, note("third"));
    timers.cancel(cancelled);
    timers.cancel(cancelled);
    timers.cancel(0);
    QCoreApplication::exec();
    timers.cancel(first);
    EXPECT_THAT(done, ElementsAre("first", "second"));
}

TEST_F(EventLoopTest, SignalsAreCalls)
{
    SignalCalls::block();
    int calls = 0;
    const SignalCalls signals({SIGTERM, SIGINT}, [&] {
        if (++calls == 2)
            QCoreApplication::quit();
    });
    ::raise(SIGTERM);
    ::raise(SIGINT);
    QCoreApplication::exec();
    EXPECT_EQ(calls, 2);
}

}
}
