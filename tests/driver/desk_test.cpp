#include "driver/proc_file.h"
#include "driver/query_desk.h"
#include "stepping_driver.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>

namespace vossel {
namespace {

using test::answer;
using test::TestAgent;

// Accesses of made-up programs, asked at a desk whose agents are real connections.
class Desk : public testing::Test {
protected:
    void start(QueryDesk::Settings settings = {})
    {
        if (!settings.configuredUser)
            settings.configuredUser = ::getuid();
        desk.emplace(driver.server, settings);
        driver.listen(*desk);
    }
    // The decision lands in `outcomes` under `name`: '+' allowed, '-' denied.
    void ask(const std::string& name, const std::string& path, std::int32_t operations = 1,
        const std::string& program = "/usr/bin/cat", pid_t process = 1, uid_t user = 4711)
    {
        Question question;
        question.access.path = path;
        question.access.operations = operations;
        question.access.program = {program, true, 1, std::hash<std::string>()(program), 1, ""};
        question.process = process;
        question.startTime = readStartTime("/proc", process);
        question.access.realUser = user;
        desk->ask(question,
            {[this, name](bool allow) { outcomes += name + (allow ? "+" : "-"); },
                [this, name] { return dead.find(name) == std::string::npos; }},
            QueryDesk::Clock::now());
    }
    // Answers the next query, which must be about `path`.
    void reply(TestAgent& agent, const std::string& path, const user_prompt_response& response)
    {
        const std::optional<policy_query> query = agent.nextQuery();
        ASSERT_TRUE(query) << path;
        EXPECT_EQ(textOf(query->path), path);
        EXPECT_EQ(agent.respond(response, query->security_token), CALL_DONE);
    }
    void later(std::chrono::seconds seconds) { desk->tick(QueryDesk::Clock::now() + seconds); }

    std::string outcomes;
    std::string dead; // names of those who died
    test::SteppingDriver driver;
    std::optional<QueryDesk> desk;
};

TEST_F(Desk, AsksOneQuestionAtATimeAndSharesEqualOnes)
{
    start();
    TestAgent agent = driver.agent();
    ASSERT_TRUE(agent.ready());
    ask("a", "/g/a");
    ask("A", "/g/a");
    ask("b", "/g/b");
    ask("w", "/g/a", OPERATION_WRITE);
    ask("o", "/g/a", OPERATION_READ, "/usr/bin/tac");
    ask("p", "/g/a", OPERATION_READ, "/usr/bin/cat", ::getppid());
    const std::optional<policy_query> first = agent.nextQuery();
    ASSERT_TRUE(first);
    EXPECT_FALSE(agent.hasNext()) << "the next one's time must not run yet";
    EXPECT_EQ(agent.respond({}, first->security_token + 1), CALL_NO_QUERY);
    EXPECT_EQ(agent.respond(answer(DECISION_DENY, DURATION_ONCE, "/g/a"), first->security_token),
        CALL_DONE);
    EXPECT_EQ(outcomes, "a-A-");
    EXPECT_EQ(agent.respond({}, first->security_token), CALL_NO_QUERY) << "answered already";
    reply(agent, "/g/b", answer(DECISION_ALLOW, DURATION_ONCE, "/g/b"));
    reply(agent, "/g/a", answer(DECISION_ALLOW, DURATION_ONCE, "/g/a"));
    reply(agent, "/g/a", answer(DECISION_DENY, DURATION_ONCE, "/g/a"));
    EXPECT_EQ(outcomes, "a-A-b+w+o-") << "another process of the same program was not answered";
    reply(agent, "/g/a", answer(DECISION_ALLOW, DURATION_ONCE, "/g/a"));
    EXPECT_EQ(outcomes, "a-A-b+w+o-p+");
    ask("c", "/g/a");
    EXPECT_TRUE(agent.nextQuery()) << "once is once";
}

TEST_F(Desk, TriesEveryAnswerOnAllThatWait)
{
    start();
    TestAgent agent = driver.agent();
    ASSERT_TRUE(agent.ready());
    ask("a", "/g/d/a");
    ask("b", "/g/d/b");
    ask("c", "/g/c");
    ask("d", "/g/d/d", OPERATION_READ | OPERATION_WRITE);
    ask("p", "/g/d/a", OPERATION_READ, "/usr/bin/cat", ::getppid());
    reply(agent, "/g/d/a", answer(DECISION_ALLOW, DURATION_UNTIL_RESTART, "/g/d/", PATH_PREFIX));
    EXPECT_EQ(outcomes, "a+b+d+p+");
    ask("e", "/g/d/e");
    EXPECT_EQ(outcomes, "a+b+d+p+e+") << "and on who comes later";
    reply(agent, "/g/c", answer(DECISION_ALLOW, DURATION_ONCE, "/g/c"));
}

TEST_F(Desk, UnderstandsEveryAnswerCode)
{
    for (const bool allowByDefault : {true, false}) {
        test::SteppingDriver own;
        QueryDesk::Settings settings;
        settings.allowByDefault = allowByDefault;
        settings.configuredUser = ::getuid();
        QueryDesk judge(own.server, settings);
        own.listen(judge);
        TestAgent agent = own.agent();
        ASSERT_TRUE(agent.ready());
        const struct {
            std::int32_t code, times;
            bool allowed;
        } rows[] = {{RESPONSE_NOT_SHOWN, 1, allowByDefault}, {RESPONSE_NOT_ANSWERED, 1, false},
            {RESPONSE_REEVALUATE, 4, allowByDefault}, {99, 1, allowByDefault}};
        for (const auto& row : rows) {
            SCOPED_TRACE(row.code);
            std::optional<bool> outcome;
            Question question;
            question.access = {1, "/g/a", "", {}, {}, {}};
            judge.ask(question, {[&](bool allow) { outcome = allow; }, [] { return true; }},
                QueryDesk::Clock::now());
            user_prompt_response response = {};
            response.code = row.code;
            std::uint32_t token = 0;
            for (int i = 0; i < row.times; ++i) {
                EXPECT_FALSE(outcome);
                const std::optional<policy_query> query = agent.nextQuery();
                ASSERT_TRUE(query);
                EXPECT_NE(std::exchange(token, query->security_token), query->security_token);
                EXPECT_EQ(agent.respond(response, query->security_token), CALL_DONE);
            }
            EXPECT_EQ(outcome, row.allowed);
            EXPECT_FALSE(agent.hasNext());
        }
    }
}

TEST_F(Desk, HoldsADecisionUntilItsProgramQuits)
{
    start();
    TestAgent agent = driver.agent();
    ASSERT_TRUE(agent.ready());
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        char byte;
        ::close(ends[1]);
        ::_exit(::read(ends[0], &byte, 1) == 0 ? 0 : 1);
    }
    ::close(ends[0]);
    ask("a", "/g/a", 1, "/usr/bin/cat", child);
    reply(agent, "/g/a", answer(DECISION_DENY, DURATION_UNTIL_QUIT, "/g/a"));
    ask("b", "/g/a", 1, "/usr/bin/cat", child);
    EXPECT_EQ(outcomes, "a-b-");
    ::close(ends[1]);
    ::waitpid(child, nullptr, 0);
    ask("c", "/g/a");
    reply(agent, "/g/a", answer(DECISION_ALLOW, DURATION_ONCE, "/g/a"));
    EXPECT_EQ(outcomes, "a-b-c+");
}

TEST_F(Desk, NeverLeavesAnybodyWaitingForALostAgent)
{
    start();
    ask("a", "/g/a");
    EXPECT_EQ(outcomes, "a+") << "nobody to be asked";
    {
        TestAgent older = driver.agent(), newer = driver.agent();
        ASSERT_TRUE(older.ready());
        ASSERT_TRUE(newer.ready());
        ask("b", "/g/b");
        ask("c", "/g/c");
        ASSERT_TRUE(newer.nextQuery()) << "the port registered last";
        EXPECT_FALSE(older.hasNext());
        newer.disconnect();
        reply(older, "/g/b", answer(DECISION_DENY, DURATION_ONCE, "/g/b"));
        ASSERT_TRUE(older.nextQuery());
        EXPECT_EQ(older.call(METHOD_RELEASE_PORT, older.key), CALL_DONE);
        EXPECT_EQ(outcomes, "a+b-c+");
    }
    TestAgent silent = driver.agent();
    ASSERT_TRUE(silent.ready());
    ask("d", "/g/d");
    ask("e", "/g/e");
    later(std::chrono::seconds(60));
    EXPECT_EQ(outcomes, "a+b-c+");
    later(std::chrono::seconds(70));
    EXPECT_EQ(outcomes, "a+b-c+d+") << "the second one's time begins now";
    silent.port.reset();
    driver.step();
    EXPECT_EQ(outcomes, "a+b-c+d+e+");
}

TEST_F(Desk, DoesNotAskForTheDeadNorAnAgentAboutItself)
{
    start();
    TestAgent agent = driver.agent();
    ASSERT_TRUE(agent.ready());
    ask("s", "/g/s", 1, "/usr/bin/agent", ::getpid());
    EXPECT_EQ(outcomes, "s+");
    EXPECT_TRUE(desk->isAgentThread(::getpid()));
    EXPECT_FALSE(desk->isAgentThread(1));
    ask("a", "/g/a");
    ask("x", "/g/x");
    ask("c", "/g/c");
    dead = "x";
    reply(agent, "/g/a", answer(DECISION_ALLOW, DURATION_ONCE, "/g/a"));
    reply(agent, "/g/c", answer(DECISION_ALLOW, DURATION_ONCE, "/g/c"));
    EXPECT_EQ(outcomes, "s+a+c+");
}

TEST_F(Desk, LetsEverybodyGoWhileFilteringIsOff)
{
    QueryDesk::Settings settings;
    settings.allowByDefault = false;
    start(settings);
    TestAgent agent = driver.agent();
    ASSERT_TRUE(agent.ready());
    ask("a", "/g/a");
    ask("b", "/g/b");
    const std::optional<policy_query> query = agent.nextQuery();
    ASSERT_TRUE(query);
    EXPECT_EQ(agent.call(METHOD_STOP_FILTER, agent.key), CALL_DONE);
    EXPECT_EQ(outcomes, "a+b+");
    const std::optional<TestAgent::Bytes> told = agent.next();
    ASSERT_TRUE(told);
    EXPECT_EQ(told->at(messageTypeOffset) + told->at(messageTypeOffset + 1) * 256,
        static_cast<int>(MSG_FILTER_STOPPED));
    EXPECT_EQ(agent.respond({}, query->security_token), CALL_NO_QUERY);
    ask("c", "/g/c");
    EXPECT_EQ(outcomes, "a+b+c+");
    EXPECT_EQ(agent.call(METHOD_START_FILTER), CALL_DONE);
    ask("d", "/g/d");
    EXPECT_TRUE(agent.nextQuery());
    desk->releaseAll();
    EXPECT_EQ(outcomes, "a+b+c+d-") << "by the default, which denies here";
}

TEST_F(Desk, KeepsAUsersOwnAnswersToThatUser)
{
    // The agent's user is the configured one, or is asked about nothing but their own processes.
    if (::getuid() != 0)
        GTEST_SKIP() << "takes an agent of another user, which only root can make";
    for (const bool own : {true, false}) {
        SCOPED_TRACE(own);
        outcomes.clear();
        test::SteppingDriver socket;
        QueryDesk::Settings settings;
        settings.configuredUser = own ? 1234u : 4711u;
        desk.emplace(socket.server, settings);
        socket.listen(*desk);
        ASSERT_EQ(::chmod(socket.folder().c_str(), 0755), 0);
        TestAgent root = socket.agent();
        ASSERT_EQ(::seteuid(4711), 0);
        TestAgent user = socket.agent();
        socket.step();
        ASSERT_EQ(::seteuid(0), 0);
        ASSERT_TRUE(user.ready());
        ask("a", "/g/a");
        user_prompt_response response = answer(DECISION_DENY, DURATION_UNTIL_RESTART, "");
        response.process = PROCESS_ANY;
        reply(user, "/g/a", response);
        ASSERT_TRUE(root.ready());
        ask("A", "/g/b", OPERATION_WRITE, "/usr/bin/tac");
        ask("r", "/g/a", OPERATION_READ, "/usr/bin/cat", 1, 0);
        ask("b", "/g/a", OPERATION_READ, "/usr/bin/cat", 1, 4712);
        EXPECT_EQ(outcomes, own ? "a-A-" : "a-A-r-b-");
        EXPECT_EQ(root.hasNext(), own);
        desk.reset();
    }
}

TEST_F(Desk, DeniesAUserAndGivesTheDefaultBeyondWhatItCanHold)
{
    QueryDesk::Settings settings;
    settings.mostWaiting = 8;
    start(settings);
    TestAgent agent = driver.agent();
    ASSERT_TRUE(agent.ready());
    const auto askAs = [this](uid_t user, const std::string& names) {
        for (const char name : names)
            ask({name}, std::string("/g/") + name, OPERATION_READ, "/usr/bin/cat", 1, user);
    };
    askAs(4711, "abc");
    EXPECT_EQ(outcomes, "c-") << "a quarter of the places for one user";
    askAs(4712, "d");
    askAs(0, "efghij");
    EXPECT_EQ(outcomes, "c-j+") << "root has all that are left";
    askAs(4713, "k");
    askAs(4711, "l");
    EXPECT_EQ(outcomes, "c-j+k+l-");
    reply(agent, "/g/a", answer(DECISION_ALLOW, DURATION_ONCE, "/g/a"));
    dead = "b";
    later(std::chrono::seconds(2));
    askAs(4711, "mno");
    EXPECT_EQ(outcomes, "c-j+k+l-a+o-") << "who is answered or dead makes room";
    desk->releaseAll();
    EXPECT_EQ(outcomes, "c-j+k+l-a+o-d+e+f+g+h+i+m+n+");
}

TEST_F(Desk, FillsTheQueryFromWhatItKnows)
{
    Question question;
    question.access.path = std::string(1500, 'p');
    question.access.program.path = "/usr/bin/cat";
    question.access.parent.path = "/usr/bin/bash";
    question.process = 12;
    question.parentProcess = 11;
    question.identity
        = {CODE_SIGN_VALID, "coreutils:amd64", "Debian", "Debian package coreutils", true, 0};
    const policy_query query
        = makeQueryMessage(question, principalOperation(OPERATION_READ | OPERATION_CREATE), 9)
              .policy_query_;
    EXPECT_EQ(textOf(query.path), std::string(1023, 'p'));
    EXPECT_EQ(textOf(query.process_name), "/usr/bin/cat");
    EXPECT_EQ(textOf(query.parent_name), "/usr/bin/bash");
    EXPECT_EQ(textOf(query.reserved2), "coreutils:amd64\tDebian\tDebian package coreutils");
    EXPECT_EQ(textOf(query.cs_info.teamid), "Debian");
    EXPECT_EQ(textOf(query.process_constraints.teamid), "Debian");
    EXPECT_EQ((std::vector{query.pid, query.ppid, query.operation, query.reserved1,
                  query.constraint_type, query.cs_info.cs_valid, query.cs_info.platform_binary}),
        (std::vector<std::int32_t>{
            12, 11, OPERATION_CREATE, CODE_SIGN_VALID, CONSTRAINT_UPDATES_COVERED, 1, 1}));
    EXPECT_EQ(query.security_token, 9u);
}

}
}
