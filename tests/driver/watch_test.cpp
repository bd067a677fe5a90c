#include "program.h"
#include "settings/directories.h"
#include "support/temporary_directory.h"
#include "test_agent.h"

#include <gtest/gtest.h>

#include <errno.h>
#include <sys/fanotify.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <filesystem>
#include <memory>
#include <sched.h>

namespace vossel {
namespace {

using test::answer;
using test::Program;
using test::TestAgent;

const std::string driverProgram = VOSSEL_DRIVER_PROGRAM;

// Real programs open real files on a file system of the test's own, in a mount namespace of its
// own; only that file system is ever guarded.
class WatchStory : public testing::Test {
protected:
    void SetUp() override
    {
        if (::unshare(CLONE_NEWNS) != 0
            || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            GTEST_SKIP() << "no mount namespace of one's own: " << errorText(errno);
        std::filesystem::create_directory(guarded);
        if (::mount("tmpfs", guarded.c_str(), "tmpfs", 0, nullptr) != 0)
            GTEST_SKIP() << "no tmpfs: " << errorText(errno);
        mounted = true;
        const UniqueFd probe(::fanotify_init(FAN_CLASS_CONTENT, O_RDONLY));
        if (!probe
            || ::fanotify_mark(probe.get(), FAN_MARK_ADD | FAN_MARK_FILESYSTEM, FAN_OPEN_EXEC_PERM,
                   AT_FDCWD, guarded.c_str())
                != 0)
            GTEST_SKIP() << "no fanotify permission events: " << errorText(errno);
        ASSERT_TRUE(writeFile(a, "secret\n"));
        ASSERT_TRUE(writeFile(guarded + "/b", "other\n"));
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
        driver = std::make_unique<Program>(std::vector<std::string>{driverProgram, "--prefix",
            folder.path(), "--watch", guarded, "--default", byDefault, "--user", "root"});
        ASSERT_TRUE(driver->writes("watching " + guarded + "\nready\n")) << driver->output();
        agent = std::make_unique<TestAgent>(Directories(folder.path()).driverSocket());
        ASSERT_TRUE(agent->isConnected() && agent->ready());
    }
    // The next query, which must be about this; answers it.
    void reply(
        const std::string& path, std::int32_t operation, const user_prompt_response& response)
    {
        const std::optional<policy_query> query = agent->nextQuery();
        ASSERT_TRUE(query) << path;
        EXPECT_EQ(textOf(query->path), path);
        EXPECT_EQ(query->operation, operation);
        EXPECT_EQ(agent->respond(response, query->security_token), CALL_DONE);
    }
    static std::vector<std::string> shell(const std::string& script)
    {
        return {"/bin/sh", "-c", script};
    }
    static constexpr int notIn32Bits = 77;
    // Replaces this process by way of the 32-bit convention; returns where there is none.
    static int startIn32Bits(const std::string& program, const std::string& argument)
    {
#ifdef __x86_64__
        constexpr std::size_t size = 8192;
        void* const low = ::mmap(
            nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_32BIT, -1, 0);
        if (low == MAP_FAILED || program.size() + argument.size() > size / 2)
            return notIn32Bits;
        auto* const text = static_cast<char*>(low);
        auto* const second = std::strcpy(text, program.c_str()) + program.size() + 1;
        std::strcpy(second, argument.c_str());
        auto* const words = reinterpret_cast<std::uint32_t*>(text + size / 2);
        const auto place = [](const void* p) {
            return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(p));
        };
        words[0] = place(text);
        words[1] = place(second);
        std::signal(SIGSEGV, [](int) { ::_exit(notIn32Bits); });
        long call = 11; // execve
        __asm__ volatile("int $0x80"
                         : "+a"(call)
                         : "b"(place(text)), "c"(place(words)), "d"(place(words + 2))
                         : "memory", "r8", "r9", "r10", "r11");
#endif
        return notIn32Bits;
    }
    static std::string realPath(const std::string& path)
    {
        return std::filesystem::canonical(path).string();
    }

    test::TemporaryDirectory folder;
    const std::string guarded = folder / "guarded";
    const std::string a = guarded + "/a";
    bool mounted = false;
    std::unique_ptr<Program> driver;
    std::unique_ptr<TestAgent> agent;
};

TEST_F(WatchStory, AllowLetsReadAndDenyRefuses)
{
    start();
    {
        Program reader({"/bin/cat", a});
        const std::optional<policy_query> query = agent->nextQuery();
        ASSERT_TRUE(query);
        EXPECT_EQ(textOf(query->path), a);
        EXPECT_EQ(query->operation, OPERATION_READ);
        EXPECT_EQ(query->pid, reader.pid());
        EXPECT_EQ(query->ppid, ::getpid());
        EXPECT_EQ(textOf(query->process_name), realPath("/bin/cat"));
        EXPECT_EQ(textOf(query->parent_name), realPath("/proc/self/exe"));
        EXPECT_EQ(agent->respond(answer(DECISION_ALLOW, DURATION_ONCE, a), query->security_token),
            CALL_DONE);
        EXPECT_EQ(reader.output(), "secret\n");
        EXPECT_EQ(reader.wait(), 0);
    }
    Program refused({"/bin/cat", a});
    reply(a, OPERATION_READ, answer(DECISION_DENY, DURATION_ONCE, a));
    EXPECT_EQ(refused.wait(), 1);
    EXPECT_NE(refused.output().find("Operation not permitted"), std::string::npos);
    // The agent's own process is never asked about.
    EXPECT_TRUE(opensForReading(a));
}

TEST_F(WatchStory, DecisionsHoldAsLongAsTheySay)
{
    start();
    const std::string twice = "read x < " + a + "; read y < " + a + "; echo $x $y";
    for (int i = 0; i < 2; ++i) {
        Program reader(shell(twice));
        reply(a, OPERATION_READ, answer(DECISION_ALLOW, DURATION_UNTIL_QUIT, a));
        EXPECT_EQ(reader.output(), "secret secret\n") << "asked once, and again for the next one";
    }
    {
        Program first({"/bin/cat", a});
        reply(a, OPERATION_READ,
            answer(DECISION_DENY, DURATION_UNTIL_RESTART, guarded + "/", PATH_PREFIX));
        EXPECT_EQ(first.wait(), 1);
    }
    Program second({"/bin/cat", a});
    EXPECT_EQ(second.wait(), 1);
    EXPECT_FALSE(agent->hasNext());
    driver->signal(SIGTERM);
    EXPECT_EQ(driver->wait(), 0);
    start();
    Program third({"/bin/cat", a});
    reply(a, OPERATION_READ, answer(DECISION_ALLOW, DURATION_ONCE, a));
    EXPECT_EQ(third.wait(), 0);
}

TEST_F(WatchStory, AnAgentThatVanishesLeavesNobodyBlocked)
{
    for (const std::string byDefault : {"allow", "deny"}) {
        start(byDefault);
        Program first({"/bin/cat", a});
        ASSERT_TRUE(agent->nextQuery());
        agent->disconnect();
        EXPECT_EQ(first.wait(), byDefault == "allow" ? 0 : 1);
        Program second({"/bin/cat", a});
        EXPECT_EQ(second.wait(), byDefault == "allow" ? 0 : 1);
        driver->signal(SIGTERM);
        EXPECT_EQ(driver->wait(), 0);
    }
}

TEST_F(WatchStory, AStoppedDriverLetsEverybodyGo)
{
    start();
    Program reader({"/bin/cat", a});
    ASSERT_TRUE(agent->nextQuery());
    driver->signal(SIGTERM);
    EXPECT_EQ(driver->wait(), 0);
    EXPECT_EQ(reader.output(), "secret\n");
    EXPECT_FALSE(fileExists(Directories(folder.path()).driverSocket()));

    start();
    Program another({"/bin/cat", a});
    ASSERT_TRUE(agent->nextQuery());
    driver->signal(SIGKILL);
    driver->wait();
    EXPECT_EQ(another.output(), "secret\n") << "the kernel lets them go where the driver cannot";
}

TEST_F(WatchStory, AsksOnceForAProgramStart)
{
    // A program that itself lies there: identifying it must not wait for its own answer.
    const std::string own = guarded + "/cat";
    std::filesystem::copy_file("/bin/cat", own);
    start();
    {
        Program refused(shell(own + " " + a));
        reply(own, OPERATION_EXECUTE, answer(DECISION_DENY, DURATION_ONCE, own));
        EXPECT_EQ(refused.wait(), 126);
    }
    Program started(shell(own + " " + a));
    reply(own, OPERATION_EXECUTE, answer(DECISION_ALLOW, DURATION_ONCE, own));
    const std::optional<policy_query> query = agent->nextQuery();
    ASSERT_TRUE(query);
    EXPECT_EQ(textOf(query->path), a);
    EXPECT_EQ(textOf(query->process_name), own);
    EXPECT_EQ(query->reserved1, CODE_SIGN_UNSIGNED);
    EXPECT_EQ(
        agent->respond(answer(DECISION_ALLOW, DURATION_ONCE, a), query->security_token), CALL_DONE);
    EXPECT_EQ(started.output(), "secret\n");
}

TEST_F(WatchStory, AsksOnceForAProgramStartOfAnotherConvention)
{
    const std::string own = guarded + "/cat";
    std::filesystem::copy_file("/bin/cat", own);
    start();
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(startIn32Bits(own, "--version"));
    const UniqueFd handle(static_cast<int>(::syscall(SYS_pidfd_open, child, 0)));
    // Whether a query comes before the end.
    const auto isAsked = [&] {
        pollfd either[] = {{agent->port.get(), POLLIN, 0}, {handle.get(), POLLIN, 0}};
        return ::poll(either, 2, 20000) > 0 && (either[0].revents & POLLIN) != 0;
    };
    const bool possible = isAsked();
    if (possible)
        reply(own, OPERATION_EXECUTE, answer(DECISION_ALLOW, DURATION_ONCE, own));
    const bool askedAgain = possible && isAsked();
    if (askedAgain)
        ::kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_FALSE(askedAgain);
    if (!possible && WIFEXITED(status) && WEXITSTATUS(status) == notIn32Bits)
        GTEST_SKIP() << "no 32-bit calls on this machine";
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST_F(WatchStory, TellsCreationFromWritingAndLeavesNothingBehind)
{
    start();
    const std::string made = guarded + "/new";
    const UniqueFd changes(::inotify_init1(IN_CLOEXEC));
    ASSERT_GE(::inotify_add_watch(changes.get(), guarded.c_str(), IN_DELETE), 0);
    {
        Program refused(shell("echo x > " + made));
        reply(made, OPERATION_CREATE, answer(DECISION_DENY, DURATION_ONCE, made));
        EXPECT_NE(refused.wait(), 0);
    }
    pollfd deletion = {changes.get(), POLLIN, 0};
    EXPECT_EQ(::poll(&deletion, 1, 20000), 1);
    EXPECT_FALSE(fileExists(made));

    Program writer(shell("echo x > " + made + "; echo y >> " + made + "; cat " + made));
    reply(made, OPERATION_CREATE, answer(DECISION_ALLOW, DURATION_ONCE, made));
    reply(made, OPERATION_WRITE, answer(DECISION_ALLOW, DURATION_ONCE, made));
    reply(made, OPERATION_READ, answer(DECISION_ALLOW, DURATION_ONCE, made));
    EXPECT_EQ(writer.output(), "x\ny\n");
    Program denied(shell("echo z > " + made));
    reply(made, OPERATION_WRITE, answer(DECISION_DENY, DURATION_ONCE, made));
    EXPECT_NE(denied.wait(), 0);
    Program reader({"/bin/cat", made});
    reply(made, OPERATION_READ, answer(DECISION_ALLOW, DURATION_ONCE, made));
    EXPECT_EQ(reader.output(), "x\ny\n") << "neither cut nor removed";
}

TEST_F(WatchStory, KnowsAFileUnderEveryMount)
{
    const std::string elsewhere = folder / "elsewhere";
    std::filesystem::create_directory(elsewhere);
    start();
    Program hidden({"unshare", "-m", "/bin/sh", "-c",
        "mount --bind " + guarded + " " + elsewhere + " && umount " + guarded + " && cat "
            + elsewhere + "/a"});
    reply(a, OPERATION_READ, answer(DECISION_DENY, DURATION_UNTIL_RESTART, a));
    EXPECT_EQ(hidden.wait(), 1);
    ASSERT_EQ(::link(a.c_str(), (guarded + "/link").c_str()), 0);
    Program linked({"/bin/cat", guarded + "/link"});
    EXPECT_EQ(linked.wait(), 1) << "the same file under another name";
    EXPECT_FALSE(agent->hasNext());

    // A program that only calls itself cat, in a mount namespace of its own, is another one.
    Program impostor({"unshare", "-m", "/bin/sh", "-c",
        "mount --bind /usr/bin/head /usr/bin/cat && exec /usr/bin/cat " + a});
    reply(a, OPERATION_READ, answer(DECISION_ALLOW, DURATION_ONCE, a));
    EXPECT_EQ(impostor.output(), "secret\n");
}

TEST_F(WatchStory, CarriesAHundredProgramsThroughOneAgent)
{
    start();
    std::vector<std::unique_ptr<Program>> readers;
    for (int i = 0; i < 100; ++i) {
        const std::string path = guarded + "/b" + std::to_string(i % 10);
        if (i < 10) {
            ASSERT_TRUE(writeFile(path, "other\n"));
        }
        readers.push_back(std::make_unique<Program>(std::vector<std::string>{"/bin/cat", path}));
    }
    int asked = 0;
    for (; asked < 10; ++asked) {
        const std::optional<policy_query> query = agent->nextQuery();
        ASSERT_TRUE(query);
        ASSERT_EQ(
            agent->respond(answer(DECISION_ALLOW, DURATION_UNTIL_RESTART, textOf(query->path)),
                query->security_token),
            CALL_DONE);
    }
    for (const auto& reader : readers)
        EXPECT_EQ(reader->output(), "other\n");
    EXPECT_FALSE(agent->hasNext());
}

TEST_F(WatchStory, RefusesWhatItMustNotGuard)
{
    std::filesystem::create_directory(guarded + "/inner");
    for (const std::string& path : {std::string("/"), std::string("/usr"), guarded + "/inner",
             guarded + "/a", guarded + "/missing"}) {
        Program refused({driverProgram, "--prefix", folder.path(), "--watch", path});
        EXPECT_EQ(refused.wait(), 2) << path;
        EXPECT_NE(refused.output().find(path), std::string::npos) << refused.output();
    }
    ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
    std::filesystem::copy_file(driverProgram, folder / "driver");
    Program powerless({"setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups",
        folder / "driver", "--prefix", folder / "own", "--watch", guarded});
    EXPECT_EQ(powerless.wait(), 2);
    EXPECT_NE(powerless.output().find("rights"), std::string::npos) << powerless.output();
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
        Program driver(command);
        EXPECT_EQ(driver.wait(), 2) << command.back();
        const std::string& output = driver.output();
        EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 1) << output;
    }
    for (const char* option : {"--help", "--version"}) {
        Program driver({driverProgram, option});
        EXPECT_EQ(driver.wait(), 0);
        EXPECT_FALSE(driver.output().empty());
    }
}

}
}
