#include "foundation/log.h"
#include "foundation/mutex.h"
#include "hosts/linux/clock.h"
#include "hosts/linux/process_control.h"
#include "hosts/linux/thread_launcher.h"
#include "linux/tree.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <future>
#include <semaphore>
#include <thread>

namespace vossel {
namespace {

using namespace std::chrono_literals;

TEST(LinuxClockTest, WaitsForAPredicateADeadlineOrTheEnd)
{
    LinuxClock clock;
    Mutex lock;
    Condition condition;
    bool done = false;
    MutexLock guard(lock);
    const auto isDone = [&done] { return done; };
    const auto before = clock.now();
    EXPECT_FALSE(clock.waitUntil(guard, condition, before + 20ms, isDone));
    EXPECT_GE(clock.now() - before, 20ms);
    EXPECT_FALSE(clock.waitUntil(guard, condition, Clock::Instant::min(), isDone));
    const std::jthread setter([&] {
        const MutexLock inner(lock);
        done = true;
        condition.notifyAll();
    });
    EXPECT_TRUE(clock.waitUntil(guard, condition, Clock::Instant::max(), isDone));
    guard.unlock();

    EXPECT_TRUE(clock.sleep(-1ms));
    auto sleeper
        = std::async(std::launch::async, [&clock] { return clock.sleep(Clock::Duration::max()); });
    clock.stop();
    EXPECT_FALSE(sleeper.get());
}

TEST(LinuxThreadLauncherTest, ManyThreadsWaitAtOnceAndAllAreJoined)
{
    std::promise<void> go;
    const auto gone = go.get_future().share();
    std::atomic<int> ran = 0;
    std::function<void()> next; // older than the launcher, whose end waits for those who use it
    {
        LinuxThreadLauncher launcher;
        next = [&] {
            gone.wait();
            if (++ran < 600) {
                EXPECT_TRUE(launcher.launch("chain", next));
            }
        };
        for (int i = 0; i < 500; ++i)
            ASSERT_TRUE(launcher.launch("query", next));
        EXPECT_FALSE(launcher.joinAll(0ms));
        go.set_value();
    }
    EXPECT_EQ(ran, 500 + 599);
}

TEST(LinuxThreadLauncherTest, AThreadIsNamedAndItsExceptionLogged)
{
    std::string logged;
    setLogSink([&logged](std::string_view line) { logged = line; });
    char name[32] = {};
    LinuxThreadLauncher launcher;
    ASSERT_TRUE(launcher.launch("a name that is far too long", [&name] {
        ::pthread_getname_np(::pthread_self(), name, sizeof name);
        throw std::runtime_error("out of cheese");
    }));
    EXPECT_TRUE(launcher.joinAll(60s));
    setLogSink({});
    EXPECT_STREQ(name, "a name that is ");
    EXPECT_NE(logged.find("out of cheese"), std::string::npos);
}

TEST(LinuxProcessControlTest, HangUpsReachTheHandlerAndNobodyElse)
{
    LinuxProcessControl::blockHangUp();
    LinuxThreadLauncher launcher;
    LinuxProcessControl control(launcher);
    ASSERT_EQ(::kill(::getpid(), SIGHUP), 0) << "without a handler it has no effect";
    for (int round = 0; round < 2; ++round) {
        std::counting_semaphore called(0);
        control.onHangUp([&called] { called.release(); });
        ASSERT_EQ(::kill(::getpid(), SIGHUP), 0);
        EXPECT_TRUE(called.try_acquire_for(20s));
        control.onHangUp({}); // what the handler uses may go now
    }
}

// Whether a child of this process may trace it.
bool attaches()
{
    const pid_t target = ::getpid();
    const pid_t tracer = ::fork();
    if (tracer == 0)
        ::_exit(::ptrace(PTRACE_SEIZE, target, nullptr, nullptr) == 0 ? 1 : 0);
    int status = 0;
    ::waitpid(tracer, &status, 0);
    return status != 0;
}

// What the program itself reads of itself must stay readable.
TEST(LinuxProcessControlTest, DebuggersOfTheSameUserAreKeptOut)
{
    const std::string said = test::inChild([](int out) {
        if (::getuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0))
            test::say(out, "still root;");
        // Becoming another user had kept them out already.
        ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0);
        test::say(out, attaches() ? "" : "nobody may;");
        LinuxThreadLauncher launcher;
        LinuxProcessControl::blockHangUp();
        LinuxProcessControl control(launcher);
        control.denyDebuggers();
        test::say(out, attaches() ? "attached;" : "refused;");
        const std::string root = "/proc/self/fd/" + std::to_string(::open("/", O_PATH));
        test::say(out, opensForReading(root + "/proc/self/exe") ? "" : "itself unreadable");
    });
    if (said.starts_with("nobody may;"))
        GTEST_SKIP() << "this system lets nobody attach to a parent";
    EXPECT_EQ(said, "refused;");
}

}
}
