#include "foundation/files.h"
#include "programs/agent_and_driver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <poll.h>
#include <unistd.h>

#include <filesystem>
#include <pty.h>

namespace vossel::test {
namespace {

TEST_F(AgentAndDriver, CarryDecisionsFromTheScriptToTheDriver)
{
    writePreferences("<key>access.user.detail</key><integer>2</integer>");
    startDriver({"/data/notes/a.txt", "/data/b"});
    startAgent("path 1\nprocess 2\nduration 2\noperations\nallow\ndeny\n");
    EXPECT_EQ(event("status")["status"], 0);
    const Json shown = event("prompt");
    EXPECT_EQ(shown["kind"], "advanced");
    EXPECT_EQ(shown["state"]["application"], "/usr/bin/cat (100)");
    EXPECT_EQ(event("end")["outcome"], "allowed");
    Json first = answer();
    EXPECT_EQ(first.erase("milliseconds"), 1U);
    EXPECT_EQ(first, Json::parse(R"({"index":0,"security_token":101,"skeyMatches":true,
        "decision":0,"code":0,"duration":2,"operations":1,"process":2,"pathType":1,
        "path":"/data/notes/a.txt","user_data":"","constraint_type":1,"pid":0})"));
    EXPECT_EQ(event("end")["outcome"], "denied");
    EXPECT_EQ(answer()["decision"], 1);
    EXPECT_EQ(driver_->wait(), 0);
    expectCleanEnd();
}

TEST_F(AgentAndDriver, CommandsOutliveTheEndOfInput)
{
    startDriver({"/data/a"});
    startAgent("duration 2\nallow");
    agent_->closeInput();
    EXPECT_EQ(event("prompt")["kind"], "simple");
    EXPECT_EQ(event("end")["outcome"], "allowed");
    EXPECT_EQ(answer()["duration"], 2);
    EXPECT_EQ(driver_->wait(), 0);
    expectCleanEnd();
}

TEST_F(AgentAndDriver, AnAgentThatIsToldToEndLeavesAnOpenPrompt)
{
    startDriver({"/data/a", "/data/b"});
    startAgent("");
    EXPECT_EQ(event("prompt")["id"], 1);
    expectCleanEnd();
    EXPECT_EQ(event("end")["outcome"], "cancelled");
    EXPECT_FALSE(driver_->readLine());
    EXPECT_EQ(driver_->wait(), 1);
}

TEST_F(AgentAndDriver, AnAgentWhoseEventsNobodyReadsLeavesTheDriver)
{
    startDriver({"/data/a", "/data/b"});
    startAgent("");
    EXPECT_EQ(event("prompt")["id"], 1);
    agent_->closeOutput();
    agent_->write("allow\nallow\n");
    EXPECT_EQ(answer()["decision"], 0);
    EXPECT_EQ(agent_->wait(), 2);
    EXPECT_THAT(agentError(), testing::HasSubstr("nobody reads the events"));
    EXPECT_FALSE(driver_->readLine()) << "allowed by somebody who does not see what is asked";
    EXPECT_EQ(driver_->wait(), 1);
}

// Keys that come too early are dropped; a patient person presses Allow again until it is taken.
TEST_F(AgentAndDriver, APersonAnswersOnATerminalWhichMayVanish)
{
    startDriver({"/data/a"});
    command_.insert(command_.end(), {"--prefix", prefix_});
    std::vector<char*> arguments;
    for (std::string& argument : command_)
        arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    int person = -1;
    const pid_t agent = ::forkpty(&person, nullptr, nullptr, nullptr);
    if (agent == 0) {
        ::setenv("TERM", "xterm", 1);
        ::execvp(arguments[0], arguments.data());
        std::_Exit(127);
    }
    UniqueFd terminal(person);
    std::string seen;
    auto pressed = std::chrono::steady_clock::now();
    for (int i = 0; i < 200 && seen.find("/data/a: allowed, until it quits") == std::string::npos;
         ++i) {
        for (pollfd wait{person, POLLIN, 0}; ::poll(&wait, 1, 100) > 0;) {
            char buffer[4096];
            const ssize_t count = ::read(person, buffer, sizeof buffer);
            seen.append(buffer, count > 0 ? static_cast<std::size_t>(count) : 0);
        }
        const auto now = std::chrono::steady_clock::now();
        if (seen.find("Allow") != std::string::npos && now - pressed > std::chrono::seconds(1)) {
            EXPECT_EQ(::write(person, "A", 1), 1);
            pressed = now;
        }
    }
    EXPECT_EQ(answer()["decision"], 0) << seen;
    terminal.reset();
    int status = -1;
    EXPECT_EQ(::waitpid(agent, &status, WNOHANG), 0) << "the agent ended with its terminal";
    ::kill(agent, SIGTERM);
    EXPECT_EQ(::waitpid(agent, &status, 0), agent);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

TEST(AgentCommandLine, SpeaksByLinesWhereThereIsNeitherDisplayNorTerminal)
{
    const TemporaryDirectory directory;
    ChildProcess agent({"setsid", "--wait", "env", "-u", "DISPLAY", "-u", "WAYLAND_DISPLAY",
                           VOSSEL_AGENT, "--prefix", directory.path()},
        directory / "error");
    EXPECT_THAT(agent.readLine().value_or(""), testing::HasSubstr("\"event\":\"status\""));
}

TEST(AgentCommandLine, RefusesWhatItCannotCarryOut)
{
    const TemporaryDirectory directory;
    const std::pair<Arguments, const char*> rows[] = {
        {{"setsid", "--wait", "env", "-u", "DISPLAY", "-u", "WAYLAND_DISPLAY", "sh", "-c",
             "exec \"$0\" </dev/null", VOSSEL_AGENT},
            "no terminal to ask on"},
        {{"env", "DISPLAY=:9999", "WAYLAND_DISPLAY=none", VOSSEL_AGENT, "--prompt", "windows"},
            VOSSEL_WINDOWS ? "the display none does not answer" : "this build shows no windows"},
        {{VOSSEL_AGENT, "--prompt", "smoke"}, "no way to ask called \"smoke\""},
        {{VOSSEL_AGENT, "--nonsense"}, "--nonsense"},
    };
    for (const auto& [command, sentence] : rows) {
        EXPECT_EQ(ChildProcess(command, directory / "error").wait(), 2) << sentence;
        EXPECT_THAT(*readFile(directory / "error", 10'000), testing::HasSubstr(sentence));
    }
}

}
}
