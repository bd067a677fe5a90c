#include "settings/directories.h"
#include "support/child_process.h"
#include "support/temporary_directory.h"
#include "test_agent.h"

#include <gtest/gtest.h>

#include <sys/fanotify.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <filesystem>
#include <future>
#include <memory>
#include <sched.h>

namespace vossel {
namespace {

using test::answer;
using test::ChildProcess;
using test::TestAgent;

const std::string driverProgram = VOSSEL_DRIVER_PROGRAM;

// Real programs open real files on a file system of the test's own, in a mount namespace of its
// own; only that file system is ever guarded.
class WatchStory : public testing::Test {
protected:
    void SetUp() override
    {
        std::filesystem::create_directory(guarded);
        if (::unshare(CLONE_NEWNS) != 0
            || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
            || ::mount("tmpfs", guarded.c_str(), "tmpfs", 0, nullptr) != 0)
            GTEST_SKIP() << "no mount namespace of one's own: " << errorText(errno);
        mounted = true;
        const UniqueFd probe(::fanotify_init(FAN_CLASS_CONTENT, O_RDONLY));
        if (!probe
            || ::fanotify_mark(probe.get(), FAN_MARK_ADD | FAN_MARK_FILESYSTEM, FAN_OPEN_EXEC_PERM,
                   AT_FDCWD, guarded.c_str())
                != 0)
            GTEST_SKIP() << "no fanotify permission events: " << errorText(errno);
        ASSERT_TRUE(writeFile(a, "secret\n"));
    }
    void TearDown() override
    {
        agent.reset();
        driver.reset();
        if (mounted)
            ::umount2(guarded.c_str(), MNT_DETACH);
    }
    void start(const std::string& byDefault = "allow")
    {
        // It ends with the test, however that ends.
        driver.reset(new ChildProcess(
            {"setpriv", "--pdeathsig", "KILL", driverProgram, "--prefix", folder.path(), "--watch",
                guarded, "--default", byDefault, "--user", "root"},
            errors));
        ASSERT_EQ(driver->readLine(), "watching " + guarded);
        ASSERT_EQ(driver->readLine(), "ready");
        agent = std::make_unique<TestAgent>(socketPath);
        ASSERT_TRUE(agent->ready());
    }
    void stop()
    {
        driver->signal(SIGTERM);
        EXPECT_EQ(driver->wait(), 0);
    }
    // The next query, which must be about this; answers it.
    void reply(
        const std::string& path, std::int32_t operation, const user_prompt_response& response)
    {
        const policy_query query = agent->nextQuery();
        EXPECT_EQ(textOf(query.path), path);
        EXPECT_EQ(query.operation, operation);
        EXPECT_EQ(agent->respond(response, query.security_token), CALL_DONE);
    }
    void reply(const std::string& path, std::int32_t operation, Decision decision)
    {
        reply(path, operation, answer(decision, path));
    }
    ChildProcess run(const std::vector<std::string>& command) { return {command, errors}; }
    ChildProcess shell(const std::string& script) { return run({"/bin/sh", "-c", script}); }
    ChildProcess cat(const std::string& path) { return run({"cat", path}); }
    std::string said() { return *readFile(errors, 4096); }

    test::TemporaryDirectory folder;
    const std::string errors = folder / "errors";
    const std::string guarded = folder / "guarded";
    const std::string a = guarded + "/a";
    const std::string socketPath = Directories(folder.path()).driverSocket();
    bool mounted = false;
    std::unique_ptr<ChildProcess> driver;
    std::unique_ptr<TestAgent> agent;
};

TEST_F(WatchStory, AllowLetsReadAndDenyRefuses)
{
    start();
    ChildProcess reader = cat(a);
    const policy_query query = agent->nextQuery();
    EXPECT_EQ(textOf(query.path), a);
    EXPECT_EQ(query.operation, OPERATION_READ);
    EXPECT_EQ(query.pid, reader.pid());
    EXPECT_EQ(query.ppid, ::getpid());
    EXPECT_EQ(textOf(query.process_name), std::filesystem::canonical("/bin/cat").string());
    EXPECT_EQ(textOf(query.parent_name), std::filesystem::canonical("/proc/self/exe").string());
    EXPECT_EQ(agent->respond(answer(DECISION_ALLOW, a), query.security_token), CALL_DONE);
    EXPECT_EQ(reader.readLine(), "secret");
    ChildProcess refused = cat(a);
    reply(a, OPERATION_READ, DECISION_DENY);
    EXPECT_EQ(refused.wait(), 1);
    EXPECT_TRUE(opensForReading(a)) << "the agent's own process is never asked about";
}

TEST_F(WatchStory, ADecisionHoldsUntilTheProgramQuits)
{
    start();
    for (int i = 0; i < 2; ++i) {
        ChildProcess reader = shell("read x < " + a + "; read y < " + a + "; echo $x $y");
        reply(a, OPERATION_READ, answer(DECISION_ALLOW, a, DURATION_UNTIL_QUIT));
        EXPECT_EQ(reader.readLine(), "secret secret") << "asked once, and again for the next one";
    }
}

TEST_F(WatchStory, LeavesNobodyBlockedWithoutAnAgentOrADriver)
{
    for (const std::string byDefault : {"allow", "deny"}) {
        const int status = byDefault == "allow" ? 0 : 1;
        start(byDefault);
        ChildProcess first = cat(a);
        ASSERT_EQ(textOf(agent->nextQuery().path), a);
        agent.reset();
        EXPECT_EQ(first.wait(), status);
        EXPECT_EQ(cat(a).wait(), status);
        agent = std::make_unique<TestAgent>(socketPath);
        ASSERT_TRUE(agent->ready());
        ChildProcess second = cat(a);
        ASSERT_EQ(textOf(agent->nextQuery().path), a);
        stop();
        EXPECT_EQ(second.wait(), status) << "let go by the default";
        EXPECT_FALSE(fileExists(socketPath));
    }
}

TEST_F(WatchStory, AsksOnceForAProgramStart)
{
    // A program that itself lies there: identifying it must not wait for its own answer.
    const std::string own = guarded + "/cat";
    std::filesystem::copy_file("/bin/cat", own);
    start();
    ChildProcess refused = shell(own + " " + a);
    reply(own, OPERATION_EXECUTE, DECISION_DENY);
    EXPECT_EQ(refused.wait(), 126);
    ChildProcess started = shell(own + " " + a);
    reply(own, OPERATION_EXECUTE, DECISION_ALLOW);
    const policy_query query = agent->nextQuery();
    EXPECT_EQ(textOf(query.path), a);
    EXPECT_EQ(textOf(query.process_name), own);
    EXPECT_EQ(query.reserved1, CODE_SIGN_UNSIGNED);
    EXPECT_EQ(agent->respond(answer(DECISION_ALLOW, a), query.security_token), CALL_DONE);
    EXPECT_EQ(started.readLine(), "secret");
}

#ifdef __x86_64__
TEST_F(WatchStory, AsksOnceForAProgramStartOfAnotherConvention)
{
    const std::string own = guarded + "/true";
    std::filesystem::copy_file("/bin/true", own);
    void* const low = ::mmap(
        nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_32BIT, -1, 0);
    ASSERT_NE(low, MAP_FAILED);
    own.copy(static_cast<char*>(low), 4095);
    // Becomes that program by the 32-bit convention, which not every machine has.
    const auto startIn32Bits = [low] {
        const pid_t child = ::fork();
        long call = 11; // execve
        if (child == 0) {
            __asm__ volatile("int $0x80"
                             : "+a"(call)
                             : "b"(low), "c"(0), "d"(0)
                             : "memory", "r8", "r9", "r10", "r11");
            ::_exit(1);
        }
        int status = -1;
        ::waitpid(child, &status, 0);
        return status;
    };
    if (startIn32Bits() != 0)
        GTEST_SKIP() << "no 32-bit calls on this machine";
    start();
    auto status = std::async(std::launch::async, startIn32Bits);
    reply(own, OPERATION_EXECUTE, answer(DECISION_ALLOW, own));
    EXPECT_EQ(status.get(), 0);
    EXPECT_FALSE(agent->hasNext());
}
#endif

TEST_F(WatchStory, TellsCreationFromWritingAndLeavesNothingBehind)
{
    start();
    const std::string made = guarded + "/new";
    const UniqueFd changes(::inotify_init1(IN_CLOEXEC));
    ASSERT_GE(::inotify_add_watch(changes.get(), guarded.c_str(), IN_DELETE), 0);
    ChildProcess refused = shell("echo x > " + made);
    reply(made, OPERATION_CREATE, DECISION_DENY);
    EXPECT_NE(refused.wait(), 0);
    pollfd deletion = {changes.get(), POLLIN, 0};
    EXPECT_EQ(::poll(&deletion, 1, 20000), 1);
    EXPECT_FALSE(fileExists(made));

    ChildProcess writer = shell("echo x > " + made + "; echo y >> " + made);
    reply(made, OPERATION_CREATE, DECISION_ALLOW);
    reply(made, OPERATION_WRITE, DECISION_ALLOW);
    EXPECT_EQ(writer.wait(), 0);
    ChildProcess denied = shell("echo z > " + made);
    reply(made, OPERATION_WRITE, DECISION_DENY);
    EXPECT_NE(denied.wait(), 0);
    EXPECT_EQ(*readFile(made, 100), "x\ny\n") << "neither cut nor removed";
}

TEST_F(WatchStory, KnowsAFileUnderEveryMount)
{
    const std::string elsewhere = folder / "elsewhere";
    std::filesystem::create_directory(elsewhere);
    start();
    ChildProcess hidden = run({"unshare", "-m", "/bin/sh", "-c",
        "mount --bind " + guarded + " " + elsewhere + " && umount " + guarded + " && cat "
            + elsewhere + "/a"});
    reply(a, OPERATION_READ, answer(DECISION_DENY, a, DURATION_UNTIL_RESTART));
    EXPECT_EQ(hidden.wait(), 1);
    ASSERT_EQ(::link(a.c_str(), (guarded + "/link").c_str()), 0);
    EXPECT_EQ(cat(guarded + "/link").wait(), 1) << "the same file under another name";
    EXPECT_FALSE(agent->hasNext());

    // A program that only calls itself cat, in a mount namespace of its own, is another one.
    ChildProcess impostor = run({"unshare", "-m", "/bin/sh", "-c",
        "mount --bind /usr/bin/head /usr/bin/cat && exec /usr/bin/cat " + a});
    reply(a, OPERATION_READ, DECISION_ALLOW);
    EXPECT_EQ(impostor.readLine(), "secret");
}

TEST_F(WatchStory, RefusesWhatItMustNotGuard)
{
    std::filesystem::create_directory(guarded + "/inner");
    for (const std::string& path :
        {std::string("/"), std::string("/usr"), guarded + "/inner", a, guarded + "/missing"}) {
        ChildProcess refused = run({driverProgram, "--prefix", folder.path(), "--watch", path});
        EXPECT_EQ(refused.wait(), 2) << path;
        EXPECT_NE(said().find(path), std::string::npos) << said();
    }
    ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
    std::filesystem::copy_file(driverProgram, folder / "driver");
    ChildProcess powerless = run({"setpriv", "--reuid", "65534", "--regid", "65534",
        "--clear-groups", folder / "driver", "--prefix", folder / "own", "--watch", guarded});
    EXPECT_EQ(powerless.wait(), 2);
    EXPECT_NE(said().find("rights"), std::string::npos) << said();
}

TEST(DriverProgram, SaysInOneSentenceWhatIsWrong)
{
    const std::vector<std::vector<std::string>> wrong = {{}, {"--replay", "/dev/null"},
        {"--replay", "/missing"}, {"--watch", "/", "--replay", "x"}, {"--all-at-once"},
        {"--nonsense"}, {"--watch", "/", "--default", "perhaps"},
        {"--replay", "x", "--timeout", "-1"}, {"--watch", "/", "--user", "nobody-of-that-name"}};
    const test::TemporaryDirectory folder;
    for (std::vector<std::string> command : wrong) {
        command.insert(command.begin(), {driverProgram, "--prefix", folder.path()});
        EXPECT_EQ(ChildProcess(command, folder / "errors").wait(), 2) << command.back();
        const std::string said = *readFile(folder / "errors", 4096);
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    }
    for (const char* option : {"--help", "--version"}) {
        ChildProcess driver({driverProgram, option}, "/dev/null");
        EXPECT_TRUE(driver.readLine());
        EXPECT_EQ(driver.wait(), 0);
    }
}

}
}
