#include "foundation/files.h"
#include "hosts/linux/accounts.h"
#include "support/child_process.h"
#include "support/queries.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>

// The two programs as a person runs them: a driver that replays queries, an agent that answers them
// by lines. Once as whoever runs the tests and once as an ordinary user, who sees less.

namespace vossel::test {
namespace {

using Json = nlohmann::json;

using testing::HasSubstr;

class AgentAndDriver : public testing::TestWithParam<bool> {
protected:
    void SetUp() override
    {
        ::chmod(directory_.path().c_str(), 0755);
        std::filesystem::create_directories(directory_ / "prefix/Users/Shared/Vossel");
        if (!GetParam()) {
            if (::geteuid() == 0 && LinuxAccounts().consoleUser())
                GTEST_SKIP()
                    << "somebody is at the console: root's agent leaves the driver to them";
            return;
        }
        if (::geteuid() != 0)
            GTEST_SKIP() << "only root can run a program as another user";
        user_ = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
        auto trial = user_;
        trial.insert(trial.end(), {VOSSEL_AGENT, "--version"});
        if (ChildProcess(trial, directory_ / "error").wait() != 0)
            GTEST_SKIP() << "an ordinary user cannot run " << VOSSEL_AGENT;
    }

    void chooseAdvancedPrompts()
    {
        ASSERT_TRUE(writeFile(
            directory_ / "prefix/Users/Shared/Vossel/com.brenick.Vossel.preferences.plist",
            R"(<?xml version="1.0"?><plist version="1.0"><dict>)"
            R"(<key>access.user.detail</key><integer>2</integer></dict></plist>)"));
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
        ASSERT_TRUE(writeFile(directory_ / "messages", messages));
        driver_ = std::make_unique<ChildProcess>(
            std::vector<std::string>{VOSSEL_DRIVER, "--prefix", directory_ / "prefix", "--replay",
                directory_ / "messages"},
            directory_ / "driver-error");
        const std::string socket = directory_ / "prefix/run/vossel/VosselDriver.sock";
        for (int i = 0; i < 2000 && !std::filesystem::exists(socket); ++i)
            ::poll(nullptr, 0, 5);
    }
    void startAgent(const std::string& commands)
    {
        auto arguments = user_;
        arguments.insert(arguments.end(),
            {VOSSEL_AGENT, "--prompt", "lines", "--prefix", directory_ / "prefix"});
        agent_ = std::make_unique<ChildProcess>(arguments, directory_ / "agent-error");
        agent_->write(commands);
    }

    // The next event of this kind; null when the agent tells none.
    Json event(const std::string& kind)
    {
        while (const auto line = agent_->readLine()) {
            Json event = Json::parse(*line, nullptr, false);
            EXPECT_FALSE(event.is_discarded()) << *line;
            if (event.contains("status"))
                status_ = event["status"];
            if (event.value("event", "") == kind)
                return event;
        }
        ADD_FAILURE() << "no \"" << kind << "\": " << error("agent-error");
        return {};
    }
    Json answer()
    {
        const auto line = driver_->readLine();
        return Json::parse(line.value_or("null"), nullptr, false);
    }
    [[nodiscard]] std::string error(const std::string& file) const
    {
        const auto text = readFile(directory_ / file, 1'000'000);
        return text ? *text : text.reason();
    }
    void expectCleanEnd()
    {
        agent_->signal(SIGTERM);
        EXPECT_EQ(agent_->wait(), 0);
        EXPECT_EQ(error("agent-error"), "");
    }

    TemporaryDirectory directory_;
    std::vector<std::string> user_;
    std::uint32_t token_ = 100;
    Json status_;
    std::unique_ptr<ChildProcess> driver_;
    std::unique_ptr<ChildProcess> agent_;
};

TEST_P(AgentAndDriver, CarryDecisionsFromTheScriptToTheDriver)
{
    chooseAdvancedPrompts();
    startDriver({"/data/notes/a.txt", "/data/b", "/data/c"});
    startAgent("path 1\nprocess 2\nduration 2\noperations\nallow\ndeny\n");
    const Json shown = event("prompt");
    EXPECT_EQ(shown["kind"], "advanced");
    EXPECT_EQ(shown["state"]["application"], "/usr/bin/cat (100)");
    EXPECT_EQ(event("end")["outcome"], "allowed");
    Json first = answer();
    EXPECT_TRUE(first["milliseconds"].is_number());
    first.erase("milliseconds");
    EXPECT_EQ(first,
        Json::parse(R"({"index":0,"security_token":101,"skeyMatches":true,
        "decision":0,"code":0,"duration":2,"operations":1,"process":)"
            + shown["state"]["processes"][2]["tag"].dump() + R"(,"pathType":1,
        "path":"/data/notes/a.txt","user_data":"","constraint_type":1,"pid":0})"));
    EXPECT_EQ(event("end")["outcome"], "denied");
    EXPECT_EQ(answer()["decision"], 1);

    const Json third = event("prompt");
    const Json& paths = third["state"]["paths"];
    const auto folder = std::find(paths.begin(), paths.end(), "In /data/") - paths.begin();
    agent_->write("path " + std::to_string(folder) + "\nallow\n");
    EXPECT_EQ(event("end")["id"], 3);
    const Json answered = answer();
    EXPECT_EQ(answered["path"], "/data/");
    EXPECT_EQ(answered["pathType"], int{PATH_PREFIX});
    EXPECT_EQ(driver_->wait(), 0) << error("driver-error");
    // The driver may have gone before the end of the last prompt was told.
    if (status_ != 2)
        event("status");
    EXPECT_EQ(status_, 2);
    expectCleanEnd();
}

TEST_P(AgentAndDriver, CommandsOutliveTheEndOfInput)
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

TEST_P(AgentAndDriver, AnAgentThatIsToldToEndLeavesAnOpenPrompt)
{
    startDriver({"/data/a", "/data/b"});
    startAgent("");
    EXPECT_EQ(event("prompt")["id"], 1);
    agent_->signal(SIGTERM);
    EXPECT_EQ(event("end")["outcome"], "cancelled");
    EXPECT_EQ(agent_->wait(), 0);
    EXPECT_EQ(error("agent-error"), "");
    EXPECT_FALSE(driver_->readLine());
    EXPECT_EQ(driver_->wait(), 1);
}

TEST_P(AgentAndDriver, AnAgentWhoseEventsNobodyReadsLeavesTheDriver)
{
    startDriver({"/data/a", "/data/b"});
    startAgent("");
    EXPECT_EQ(event("prompt")["id"], 1);
    agent_->closeOutput();
    agent_->write("allow\nallow\n");
    EXPECT_EQ(answer()["decision"], 0);
    EXPECT_EQ(agent_->wait(), 2);
    EXPECT_THAT(error("agent-error"), HasSubstr("nobody reads the events"));
    EXPECT_FALSE(driver_->readLine()) << "allowed by somebody who does not see what is asked";
    EXPECT_EQ(driver_->wait(), 1);
}

INSTANTIATE_TEST_SUITE_P(As, AgentAndDriver, testing::Bool(),
    [](const auto& row) { return row.param ? "OrdinaryUser" : "Oneself"; });

TEST(AgentCommandLine, RefusesWhatItCannotCarryOut)
{
    const TemporaryDirectory directory;
    struct Row {
        std::vector<std::string> arguments;
        int status;
        const char* error;
    };
    const Row rows[] = {
        {{}, 2, "no way to ask anybody"},
        {{"--prompt", "windows"}, 2, "no way to ask called \"windows\""},
        {{"--prompt"}, 2, "--prompt"},
        {{"--nonsense"}, 2, "--nonsense"},
        {{"--version"}, 0, ""},
        {{"--help"}, 0, ""},
    };
    for (const Row& row : rows) {
        std::vector<std::string> arguments{VOSSEL_AGENT};
        arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
        ChildProcess agent(arguments, directory / "error");
        EXPECT_EQ(agent.wait(), row.status) << row.error;
        const auto error = readFile(directory / "error", 10'000);
        ASSERT_TRUE(error);
        EXPECT_THAT(*error, HasSubstr(row.error));
    }
}

}
}
