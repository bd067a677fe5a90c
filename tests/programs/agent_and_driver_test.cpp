#include "foundation/files.h"
#include "support/child_process.h"
#include "support/queries.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <pty.h>

// The two programs as a person runs them: a driver that replays queries, an agent that answers them
// by lines; run by root, the agent is an ordinary user's, who sees less.

namespace vossel::test {
namespace {

using Json = nlohmann::json;
using Arguments = std::vector<std::string>;

class AgentAndDriver : public testing::Test {
protected:
    void SetUp() override
    {
        ::chmod(directory_.path().c_str(), 0755);
        std::filesystem::create_directories(prefix_ + "/Users/Shared/Vossel");
        if (::geteuid() != 0)
            return;
        command_ = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", VOSSEL_AGENT};
        Arguments trial = command_;
        trial.emplace_back("--version");
        if (ChildProcess(trial, directory_ / "error").wait() != 0)
            GTEST_SKIP() << "an ordinary user cannot run " << VOSSEL_AGENT;
    }

    // A driver that asks about these paths, one after the other.
    void startDriver(const std::vector<std::string>& paths)
    {
        std::string messages;
        for (const std::string& path : paths) {
            policy_query_message message{};
            message.type = MSG_POLICY_QUERY;
            message.policy_query_ = queryFor(path, OPERATION_READ, "/usr/bin/cat", "/usr/bin/bash");
            message.policy_query_.security_token = ++token_;
            messages.append(reinterpret_cast<const char*>(&message), sizeof message);
        }
        const std::string file = directory_ / "messages";
        ASSERT_TRUE(writeFile(file, messages));
        const Arguments command{VOSSEL_DRIVER, "--prefix", prefix_, "--replay", file};
        driver_ = std::make_unique<ChildProcess>(command, directory_ / "driver-error");
        const std::string socket = prefix_ + "/run/vossel/VosselDriver.sock";
        for (int i = 0; i < 2000 && !std::filesystem::exists(socket); ++i)
            ::poll(nullptr, 0, 5);
    }
    void startAgent(const std::string& commands)
    {
        Arguments arguments = command_;
        arguments.insert(arguments.end(), {"--prompt", "lines", "--prefix", prefix_});
        agent_ = std::make_unique<ChildProcess>(arguments, directory_ / "agent-error");
        agent_->write(commands);
    }

    // The next event of this kind; null when the agent tells none.
    Json event(const std::string& kind)
    {
        while (const auto line = agent_->readLine()) {
            Json event = Json::parse(*line, nullptr, false);
            EXPECT_FALSE(event.is_discarded()) << *line;
            if (event.value("event", "") == kind)
                return event;
        }
        ADD_FAILURE() << "no \"" << kind << "\": " << agentError();
        return {};
    }
    Json answer() { return Json::parse(driver_->readLine().value_or("null"), nullptr, false); }
    [[nodiscard]] std::string agentError() const
    {
        return *readFile(directory_ / "agent-error", 1'000'000);
    }
    void expectCleanEnd()
    {
        agent_->signal(SIGTERM);
        EXPECT_EQ(agent_->wait(), 0);
        EXPECT_EQ(agentError(), "");
    }

    TemporaryDirectory directory_;
    const std::string prefix_ = directory_ / "prefix";
    Arguments command_{VOSSEL_AGENT};
    std::uint32_t token_ = 100;
    std::unique_ptr<ChildProcess> driver_;
    std::unique_ptr<ChildProcess> agent_;
};

TEST_F(AgentAndDriver, CarryDecisionsFromTheScriptToTheDriver)
{
    ASSERT_TRUE(writeFile(prefix_ + "/Users/Shared/Vossel/com.brenick.Vossel.preferences.plist",
        "<plist version=\"1.0\"><dict><key>access.user.detail</key><integer>2</integer></dict>"
        "</plist>"));
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
            "the display none does not answer"},
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
