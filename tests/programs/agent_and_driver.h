#pragma once

#include "support/child_process.h"
#include "support/queries.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace vossel::test {

using Json = nlohmann::json;
using Arguments = std::vector<std::string>;

// The two programs as a person runs them: a driver that replays queries, an agent that answers
// them; run by root, the agent is an ordinary user's, who sees less.
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
    // By lines.
    void startAgent(const std::string& commands)
    {
        startAgentWith({"--prompt", "lines"});
        agent_->write(commands);
    }
    void startAgentWith(const Arguments& options)
    {
        Arguments arguments = command_;
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.insert(arguments.end(), {"--prefix", prefix_});
        agent_ = std::make_unique<ChildProcess>(arguments, directory_ / "agent-error");
    }
    void writePreferences(const std::string& entries) const
    {
        ASSERT_TRUE(writeFile(prefix_ + "/Users/Shared/Vossel/com.brenick.Vossel.preferences.plist",
            "<plist version=\"1.0\"><dict>" + entries + "</dict></plist>"));
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

}
