#pragma once

#include "driver/desk/query_desk.h"
#include "hosts/linux/proc_file.h"
#include "test_agent.h"

#include <gtest/gtest.h>

namespace vossel::test {

// Accesses of made-up programs, asked at a desk whose agents are real connections.
class Desk : public testing::Test {
protected:
    // Another desk, and an agent of it; those of before must be gone.
    TestAgent start(QueryDesk::Settings settings = {})
    {
        settings.configuredUser = settings.configuredUser.value_or(::getuid());
        lastToken = 0;
        outcomes.clear();
        desk.reset();
        driver.emplace();
        desk.emplace(driver->server, settings);
        EXPECT_TRUE(driver->server.listen(driver->path, *desk));
        return readyAgent();
    }
    TestAgent readyAgent()
    {
        TestAgent agent = driver->agent();
        EXPECT_TRUE(agent.ready());
        return agent;
    }
    // The decision lands in `outcomes` under `name`: '+' allowed, '-' denied.
    void ask(const std::string& name, const std::string& path,
        std::int32_t operations = OPERATION_READ, const std::string& program = "/usr/bin/cat",
        pid_t process = 1, uid_t user = 4711)
    {
        Question question;
        question.access.path = path;
        question.access.operations = operations;
        question.access.program = {program, true, 1, std::hash<std::string>()(program), 1, ""};
        question.process = process;
        question.startTime = readStartTime(SystemRoot(), process);
        question.access.realUser = user;
        desk->ask(question,
            {[this, name](bool allow) { outcomes += name + (allow ? "+" : "-"); },
                [this, name] { return dead.find(name) == std::string::npos; }},
            QueryDesk::Clock::now());
    }
    // Answers the next query, which must be about `path`.
    void reply(TestAgent& agent, const std::string& path, const user_prompt_response& response)
    {
        const policy_query query = agent.nextQuery();
        EXPECT_EQ(textOf(query.path), path);
        EXPECT_NE(std::exchange(lastToken, query.security_token), query.security_token);
        EXPECT_EQ(agent.respond(response, query.security_token), CALL_DONE);
    }
    void reply(TestAgent& agent, const std::string& path, Decision decision)
    {
        reply(agent, path, answer(decision, path));
    }
    void later(std::chrono::seconds seconds) { desk->tick(QueryDesk::Clock::now() + seconds); }

    std::uint32_t lastToken = 0;
    std::string outcomes;
    std::string dead; // names of those who died
    std::optional<SteppingDriver> driver;
    std::optional<QueryDesk> desk;
};

}
