#include "foundation/log.h"
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
#include <thread>

namespace vossel {
namespace {

using namespace std::chrono_literals;

TEST(LinuxClockTest, WaitsForAPredicateOrADeadline)
{
    LinuxClock clock;
    std::mutex lock;
    std::condition_variable condition;
    bool done = false;
    std::unique_lock guard(lock);
    const auto never = [&done] { return done; };
    const auto before = clock.now();
    EXPECT_FALSE(clock.waitUntil(guard, condition, before + 20ms, never));
    EXPECT_GE(clock.now() - before, 20ms);
    EXPECT_FALSE(clock.waitUntil(guard, condition, Clock::Instant::min(), never));

    std::thread setter([&] {
        const std::lock_guard inner(lock);
        done = true;
        condition.notify_all();
    });
    EXPECT_TRUE(clock.waitUntil(guard, condition, Clock::Instant::max(), never));
    guard.unlock();
    setter.join();
}

TEST(LinuxClockTest, StoppingEndsEverySleep)
{
    LinuxClock clock;
    EXPECT_TRUE(clock.sleep(1ms));
    EXPECT_TRUE(clock.sleep(-1ms));
    auto sleeper
        = std::async(std::launch::async, [&clock] { return clock.sleep(Clock::Duration::max()); });
    clock.stop();
    EXPECT_FALSE(sleeper.get());
    EXPECT_FALSE(clock.sleep(1h));
}

TEST(LinuxThreadLauncherTest, ManyThreadsWaitAtOnceAndAllAreJoined)
{
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    constexpr int count = 500; // one checker has room for some thousands, the other takes its time
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(address_sanitizer)
    constexpr int count = 500;
#else
    constexpr int count = 10'000;
#endif
#else
    constexpr int count = 10'000;
#endif
    std::promise<void> go;
    const auto gone = go.get_future().share();
    std::atomic<int> ran = 0;
    LinuxThreadLauncher launcher;
    int started = 0;
    while (started < count && launcher.launch("query", [&ran, gone] {
        gone.wait();
        ++ran;
    }))
        ++started;
    EXPECT_FALSE(launcher.joinAll(0ms));
    go.set_value();
    EXPECT_TRUE(launcher.joinAll(60s));
    EXPECT_EQ(ran, started);
    if (started < count)
        GTEST_SKIP() << "the system gave " << started << " threads only";
}

TEST(LinuxThreadLauncherTest, AThreadIsNamedAndItsExceptionLogged)
{
    std::promise<std::string> logged;
    setLogSink([&logged](std::string_view line) { logged.set_value(std::string(line)); });
    char name[32] = {};
    {
        LinuxThreadLauncher launcher;
        ASSERT_TRUE(launcher.launch("a name that is far too long", [&name] {
            ::pthread_getname_np(::pthread_self(), name, sizeof name);
            throw std::runtime_error("out of cheese");
        }));
    }
    setLogSink({});
    EXPECT_STREQ(name, "a name that is ");
    EXPECT_NE(logged.get_future().get().find("out of cheese"), std::string::npos);
}

TEST(LinuxThreadLauncherTest, AThreadMayLaunchAnother)
{
    std::atomic<int> ran = 0;
    std::function<void()> next; // older than the launcher, whose end waits for those who use it
    {
        LinuxThreadLauncher launcher;
        next = [&] {
            if (++ran < 50) {
                EXPECT_TRUE(launcher.launch("chain", next));
            }
        };
        ASSERT_TRUE(launcher.launch("chain", next));
    }
    EXPECT_EQ(ran, 50);
}

TEST(LinuxProcessControlTest, HangUpsReachTheHandlerAndNobodyElse)
{
    LinuxProcessControl::blockHangUp();
    LinuxThreadLauncher launcher;
    LinuxProcessControl control(launcher);
    ASSERT_EQ(::kill(::getpid(), SIGHUP), 0) << "without a handler it has no effect";

    for (const char* round : {"first", "second"}) {
        std::promise<std::thread::id> called;
        std::atomic<bool> once = false;
        control.onHangUp([&] {
            if (!once.exchange(true))
                called.set_value(std::this_thread::get_id());
        });
        ASSERT_EQ(::kill(::getpid(), SIGHUP), 0);
        EXPECT_NE(called.get_future().get(), std::this_thread::get_id()) << round;
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

bool linkReadable(const char* path)
{
    char target[1];
    return ::readlink(path, target, sizeof target) > 0;
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
        for (const char* own : {"/proc/self/stat", "/proc/self/status", "/proc/self/mountinfo",
                 "/proc/self/cgroup", "/proc/self/maps"})
            if (!opensForReading(own))
                test::say(out, std::string(own) + " unreadable;");
        for (const char* own : {"/proc/self/exe", "/proc/self/fd/1"})
            if (!linkReadable(own))
                test::say(out, std::string(own) + " unreadable;");
        if (!isDirectory("/proc/self/fd/" + std::to_string(::open("/", O_PATH)) + "/proc"))
            test::say(out, "no way through a folder's descriptor;");
    });
    if (said.starts_with("nobody may;"))
        GTEST_SKIP() << "this system lets nobody attach to a parent";
    EXPECT_EQ(said, "refused;");
}

}
}
