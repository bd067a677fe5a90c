#include "desk_fixture.h"

#include <sys/stat.h>

namespace vossel {
namespace {

using test::answer;
using test::Desk;
using test::TestAgent;

TEST_F(Desk, AsksOneQuestionAtATimeAndTriesEachAnswerOnAllThatWait)
{
    TestAgent agent = start();
    ask("a", "/g/a");
    ask("A", "/g/a");
    ask("b", "/g/d/b");
    ask("o", "/g/a", OPERATION_READ, "/usr/bin/tac");
    ask("p", "/g/a", OPERATION_READ, "/usr/bin/cat", ::getppid());
    ask("d", "/g/d/d", OPERATION_READ | OPERATION_WRITE);
    const std::uint32_t first = agent.nextToken();
    EXPECT_FALSE(agent.hasNext()) << "the next one's time must not run yet";
    EXPECT_EQ(agent.respond({}, first + 1), CALL_NO_QUERY);
    EXPECT_EQ(agent.respond(answer(DECISION_DENY, "/g/a"), first), CALL_DONE);
    EXPECT_EQ(outcomes, "a-A-");
    EXPECT_EQ(agent.respond({}, first), CALL_NO_QUERY) << "answered already";
    reply(agent, "/g/d/b", answer(DECISION_ALLOW, "/g/d/", DURATION_UNTIL_RESTART, PATH_PREFIX));
    ask("e", "/g/d/e");
    reply(agent, "/g/a", DECISION_DENY);
    EXPECT_EQ(outcomes, "a-A-b+d+e+o-") << "another process of the same program was not answered";
    reply(agent, "/g/a", DECISION_ALLOW);
    EXPECT_EQ(outcomes, "a-A-b+d+e+o-p+");
    ask("c", "/g/a");
    EXPECT_NE(agent.nextToken(), 0u) << "once is once";
}

TEST_F(Desk, UnderstandsEveryAnswerCode)
{
    for (const bool allowByDefault : {true, false}) {
        TestAgent agent = start({.allowByDefault = allowByDefault, .configuredUser = {}});
        const std::string byDefault = allowByDefault ? "+" : "-";
        for (const auto& [code, times, outcome] :
            {std::tuple(RESPONSE_NOT_SHOWN, 1, byDefault), {RESPONSE_NOT_ANSWERED, 1, "-"},
                {RESPONSE_REEVALUATE, 4, byDefault}, {ResponseCode(99), 1, byDefault}}) {
            outcomes.clear();
            ask("q", "/g/a");
            user_prompt_response response = {};
            response.code = code;
            for (int i = 0; i < times; ++i)
                reply(agent, "/g/a", response);
            EXPECT_EQ(outcomes, "q" + outcome) << code;
            EXPECT_FALSE(agent.hasNext());
        }
    }
}

TEST_F(Desk, NeverLeavesAnybodyWaitingForALostAgent)
{
    start();
    driver->step();
    ask("a", "/g/a");
    EXPECT_EQ(outcomes, "a+") << "nobody to be asked";
    {
        TestAgent older = readyAgent(), newer = readyAgent();
        ask("b", "/g/b");
        ask("c", "/g/c");
        ASSERT_NE(newer.nextToken(), 0u) << "the port registered last";
        EXPECT_FALSE(older.hasNext());
        newer.socket.reset();
        reply(older, "/g/b", DECISION_DENY);
        ASSERT_NE(older.nextToken(), 0u);
        EXPECT_EQ(older.call(METHOD_RELEASE_PORT, older.key), CALL_DONE);
        EXPECT_EQ(outcomes, "a+b-c+");
    }
    TestAgent silent = readyAgent();
    ask("d", "/g/d");
    ask("e", "/g/e");
    later(std::chrono::seconds(60));
    EXPECT_EQ(outcomes, "a+b-c+");
    later(std::chrono::seconds(70));
    EXPECT_EQ(outcomes, "a+b-c+d+") << "the second one's time begins now";
    silent.port.reset();
    driver->step();
    EXPECT_EQ(outcomes, "a+b-c+d+e+");
}

TEST_F(Desk, DoesNotAskForTheDeadNorAnAgentAboutItself)
{
    TestAgent agent = start();
    ask("s", "/g/s", OPERATION_READ, "/usr/bin/agent", ::getpid());
    EXPECT_EQ(outcomes, "s+");
    EXPECT_TRUE(desk->isAgentThread(::getpid()));
    EXPECT_FALSE(desk->isAgentThread(1));
    for (const char* name : {"a", "x", "c"})
        ask(name, std::string("/g/") + name);
    dead = "x";
    reply(agent, "/g/a", DECISION_ALLOW);
    reply(agent, "/g/c", DECISION_ALLOW);
    EXPECT_EQ(outcomes, "s+a+c+");
}

TEST_F(Desk, LetsEverybodyGoWhileFilteringIsOff)
{
    TestAgent agent = start({.allowByDefault = false, .configuredUser = {}});
    ask("a", "/g/a");
    ask("b", "/g/b");
    const std::uint32_t query = agent.nextToken();
    EXPECT_EQ(agent.call(METHOD_STOP_FILTER, agent.key), CALL_DONE);
    EXPECT_EQ(agent.next().size(), messagePayloadOffset) << "the word that filtering stopped";
    EXPECT_EQ(agent.respond({}, query), CALL_NO_QUERY);
    ask("c", "/g/c");
    EXPECT_EQ(outcomes, "a+b+c+");
    EXPECT_EQ(agent.call(METHOD_START_FILTER), CALL_DONE);
    ask("d", "/g/d");
    EXPECT_NE(agent.nextToken(), 0u);
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
        start({.configuredUser = own ? 1234u : 4711u});
        driver->step();
        ASSERT_EQ(::chmod(driver->folder.path().c_str(), 0755), 0);
        TestAgent root = driver->agent();
        ASSERT_EQ(::seteuid(4711), 0);
        TestAgent user = readyAgent();
        ASSERT_EQ(::seteuid(0), 0);
        ask("a", "/g/a");
        user_prompt_response response = answer(DECISION_DENY, "", DURATION_UNTIL_RESTART);
        response.process = PROCESS_ANY;
        reply(user, "/g/a", response);
        EXPECT_EQ(user.call(METHOD_START_FILTER), own ? CALL_NOT_PERMITTED : CALL_DONE);
        EXPECT_EQ(user.call(METHOD_STOP_FILTER, user.key), own ? CALL_NOT_PERMITTED : CALL_DONE);
        EXPECT_EQ(root.call(METHOD_START_FILTER), CALL_DONE);
        ASSERT_TRUE(root.ready());
        ask("A", "/g/b", OPERATION_WRITE, "/usr/bin/tac");
        ask("r", "/g/a", OPERATION_READ, "/usr/bin/cat", 1, 0);
        ask("b", "/g/a", OPERATION_READ, "/usr/bin/cat", 1, 4712);
        EXPECT_EQ(outcomes, own ? "a-A-" : "a-A-r-b-");
        EXPECT_EQ(root.hasNext(), own);
    }
}

TEST_F(Desk, DeniesAUserAndGivesTheDefaultBeyondWhatItCanHold)
{
    TestAgent agent = start({.configuredUser = {}, .maxWaiting = 8});
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
    reply(agent, "/g/a", DECISION_ALLOW);
    dead = "b";
    later(std::chrono::seconds(2));
    askAs(4711, "mno");
    EXPECT_EQ(outcomes, "c-j+k+l-a+o-") << "who is answered or dead makes room";
    desk->releaseAll();
    EXPECT_EQ(outcomes, "c-j+k+l-a+o-d+e+f+g+h+i+m+n+");
}

TEST_F(Desk, TellsWhoseProgramItIs)
{
    Question question;
    question.identity
        = {CODE_SIGN_VALID, "coreutils:amd64", "Debian", "Debian package coreutils", true, 0};
    const policy_query query = makeQueryMessage(question, OPERATION_CREATE, 9).policy_query_;
    EXPECT_EQ(textOf(query.reserved2), "coreutils:amd64\tDebian\tDebian package coreutils");
    EXPECT_EQ(textOf(query.process_constraints.teamid), "Debian");
    EXPECT_EQ(query.reserved1, CODE_SIGN_VALID);
    EXPECT_EQ(query.constraint_type, CONSTRAINT_UPDATES_COVERED);
}

}
}
