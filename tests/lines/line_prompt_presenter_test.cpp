#include "agent/driver_link.h"
#include "foundation/utf8.h"
#include "frontends/lines/line_output.h"
#include "frontends/lines/line_prompt_presenter.h"
#include "support/agent_fixture.h"
#include "ui/prompt/prompt_view_model_factory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>

namespace vossel::test {
namespace {

using namespace std::chrono_literals;

// The whole agent on a simulated machine, spoken to in lines.
class LinePromptPresenterTest : public testing::Test, protected AgentFixture {
protected:
    LinePromptPresenterTest()
    {
        chooseAdvancedPrompts();
        broker.setPromptFactory(&windows);
        link.setResponseListener(&lines);
        host.processes.add(4242, 77, "/opt/Notes");
        host.processes.add(77, 1, "/usr/bin/shell");
        EXPECT_TRUE(host.threads.launch("driver loop", [this] { link.agent_main(); }));
        EXPECT_TRUE(host.driver.waitUntil([this] { return link.isConnected(); }));
    }
    ~LinePromptPresenterTest() override
    {
        host.clock.stop();
        host.driver.vanish();
        host.threads.joinAll();
        host.mainThread.runPending();
    }

    // A story in steps: "< allow" is typed, "> prompt 1 simple" must be told next, "minute" lets
    // the user's time run out, and a path is asked about. The main thread runs only while something
    // is to be told and at the end, when nothing more may be told.
    void play(const std::vector<std::string>& steps)
    {
        for (const std::string& step : steps) {
            SCOPED_TRACE(step);
            if (step.starts_with("< ")) {
                lines.take(step.substr(2), false);
            } else if (step.starts_with("> ")) {
                ASSERT_NO_FATAL_FAILURE(expectToldNext(step.substr(2)));
            } else if (step == "minute") {
                advance(60s);
                expectAnswered();
            } else {
                ask(step);
            }
        }
        host.mainThread.runPending();
        EXPECT_EQ(events.get().size(), told);
    }
    void ask(std::string_view path)
    {
        policy_query query = makeQuery(path, OPERATION_READ, ++asked);
        query.ppid = 77;
        storeText(query.process_name, "/opt/Notes");
        storeText(query.parent_name, "/usr/bin/shell");
        storeText(query.cs_info.teamid, "TEAM");
        host.driver.sendQuery(query);
    }
    void advance(std::chrono::milliseconds time)
    {
        EXPECT_TRUE(host.clock.waitForWaiters(2)); // the query's thread and the poller
        host.clock.advance(time);
    }
    void expectAnswered()
    {
        const auto answered = [this] { return host.driver.responses().size() == asked; };
        EXPECT_TRUE(host.driver.waitUntil(answered));
    }
    void expectToldNext(const std::string& expected)
    {
        ASSERT_TRUE(host.mainThread.runUntil([this] { return events.get().size() > told; }));
        const Json event = events.get().at(told++);
        std::string text = event["event"];
        for (const char* key : {"id", "kind", "outcome", "command", "reason"})
            if (const auto field = event.find(key); field != event.end())
                text += " " + (field->is_string() ? field->get<std::string>() : field->dump());
        EXPECT_EQ(text, expected);
        last[event["event"]] = event;
        host.mainThread.runPending();
    }

    Guarded<std::vector<Json>> events;
    std::size_t told = 0; // events that the story has seen
    std::map<std::string, Json> last; // of each kind among them
    std::uint32_t asked = 0;
    std::atomic<bool> somebodyReads = true;
    LineOutput output{[this](std::string_view line) {
        events.with([&](auto& list) { list.push_back(Json::parse(line)); });
        return somebodyReads.load();
    }};
    FilterStatus status;
    LinePromptPresenter lines{output, host.mainThread};
    PromptViewModelFactory windows{PromptContext{host.host, directories, broker, lines}};
    DriverLink link{host.host, directories, userChecks, status, broker};
};

TEST_F(LinePromptPresenterTest, ASimplePromptIsShownAndAllowed)
{
    writePreferences({}); // simple prompts
    play({"/data/\xff", "< duration 2", "< allow", "> prompt 1 simple", "> state 1",
        "> end 1 allowed"});
    Json state = last["state"]["state"];
    EXPECT_EQ(state.erase("icon"), 1U);
    EXPECT_EQ(state, Json::parse(R"({
        "sentence":"Notes via shell would like to access the file /data/\uFFFD","alertType":0,
        "codeSignState":2,"codeSign":"","allow":{"hidden":false,"highlighted":false},
        "deny":{"hidden":false,"highlighted":false},"touchBarRequired":false,"secondsLeft":60,
        "iconKind":"file","application":"Notes via shell","duration":2,"foreverHidden":false})"));
    EXPECT_EQ(last["end"]["response"], responseJson(host.driver.responses().at(0)));
}

TEST_F(LinePromptPresenterTest, AnAdvancedPromptIsShapedAndDenied)
{
    play({"/data/a.txt", "< path 3", "< process \t 005", "< duration 3", "< operations",
        "< updates off", "> prompt 1 advanced", "> state 1", "> state 1", "> state 1", "> state 1",
        "> state 1"});
    Json state = last["state"]["state"];
    EXPECT_EQ(state.erase("icon"), 1U);
    EXPECT_EQ(state, Json::parse(R"json({
        "sentence":"Vossel detected an attempt to read the following file...","alertType":0,
        "codeSignState":2,"codeSign":"","allow":{"hidden":false,"highlighted":false},
        "deny":{"hidden":false,"highlighted":false},"touchBarRequired":false,"secondsLeft":60,
        "iconKind":"file","application":"/opt/Notes (4242)","parent":"/usr/bin/shell (77)",
        "file":"/data/a.txt",
        "paths":["File Extension .txt","Only /data/a.txt","Only /data/","In /data/","Any Files"],
        "path":3,"pathEnabled":true,"processes":[{"title":"","tag":-1},
        {"title":"any process","tag":1},{"title":"Notes","tag":2},
        {"title":"Notes via shell","tag":3},{"title":"any process via shell","tag":5},
        {"title":"any with ancestor shell","tag":6,"path":"/usr/bin/shell"}],"process":5,
        "processTitle":"any with ancestor shell","operations":"Read Only","segments":4,"duration":3,
        "updates":{"checked":false,"enabled":true,"hidden":false},"installerPid":0})json"));
    play({"< updates on", "<  deny\t", "> state 1", "> end 1 denied"});
    EXPECT_EQ(last["state"]["state"]["updates"]["checked"], true);
}

TEST_F(LinePromptPresenterTest, TheSwitchToTheAdvancedPromptKeepsTheNumber)
{
    writePreferences({}); // simple prompts
    play({"/data/a", "< duration 3", "< advanced", "< advanced", "< deny", "> prompt 1 simple",
        "> state 1", "> prompt 1 advanced", "> state 1",
        "> error advanced this prompt has no such control", "> end 1 denied"});
    EXPECT_EQ(last["end"]["response"]["duration"], 3); // taken over
}

TEST_F(LinePromptPresenterTest, WhatCannotBeDoneChangesNothing)
{
    play({"/data/a", "> prompt 1 advanced"});
    for (const std::string command : {"path 99", "process 0", "process 99"})
        play({"< " + command, "> error " + command + " there is no such entry"});
    play({"< state", "> state 1"});
    EXPECT_EQ(last["state"]["state"], last["prompt"]["state"]);
}

TEST_F(LinePromptPresenterTest, WhatIsNoCommandIsAnsweredAtOnce)
{
    const std::pair<std::string, std::vector<std::string>> rows[] = {
        {"there is no such command", {"Allow", "allowed", {"allow\0", 6}, "\xff\xfe"}},
        {"this command takes no argument", {"allow 1"}},
        {"this command takes one number",
            {"path", "path -1", "path +1", "path 1x", "path 1 2", "path 2147483648"}},
        {"this command takes on or off", {"updates", "updates 1"}},
    };
    for (const auto& [reason, commands] : rows)
        for (const std::string& command : commands)
            play({"< " + command, "> error " + toValidUtf8(command) + " " + reason});
    lines.take("long", true);
    play({"< ", "< \t", "> error long the line is too long"});
}

TEST_F(LinePromptPresenterTest, ATouchBarPromptTakesNoDecisionAndRunsOutOfTime)
{
    writePreferences({{"access.user.detail", 2}, {"ui.prompts.oob", 1}});
    play({"/data/a", "< allow", "< deny", "> prompt 1 advanced",
        "> error allow this prompt is answered on the touch bar",
        "> error deny this prompt is answered on the touch bar"});
    advance(58'001ms);
    play({"< state", "> state 1"});
    EXPECT_EQ(last["state"]["state"]["touchBarRequired"], true);
    EXPECT_EQ(last["state"]["state"]["secondsLeft"], 2);
    play({"minute", "> end 1 timeout"});
    EXPECT_EQ(last["end"]["response"]["code"], int{RESPONSE_NOT_ANSWERED});
}

TEST_F(LinePromptPresenterTest, CommandsWaitForPrompts)
{
    play({"< duration 2", "< wait", "< allow", "< wait", "< deny", "/data/a", "> prompt 1 advanced",
        "> state 1", "minute", "> end 1 timeout", "/data/b", "> prompt 2 advanced",
        "> end 2 allowed", "/data/c", "> prompt 3 advanced"});
    EXPECT_TRUE(broker.reevaluateQuery());
    play({"> end 3 reevaluated", "/data/d", "> prompt 4 advanced", "> end 4 denied", "/data/e",
        "> prompt 5 advanced"});
    broker.cancelQuery();
    play({"> end 5 cancelled"});
}

// A prompt that nobody saw is not told; what was not done by its end is for the next one.
TEST_F(LinePromptPresenterTest, TheTimeRunsOutWhileTheMainThreadStandsStill)
{
    play(
        {"/data/a", "minute", "/data/b", "> prompt 1 advanced", "< duration 3", "minute", "< allow",
            "> end 1 timeout", "/data/c", "> prompt 2 advanced", "> state 2", "> end 2 allowed"});
    status.updateStatus(FILTER_DISABLED);
    ask("/data/d");
    expectAnswered();
    play({});
}

// While an administrator is asked for the first prompt, its time runs out and a second one comes.
TEST_F(LinePromptPresenterTest, ALaterPromptIsAnsweredWhileADialogStands)
{
    writePreferences({{"access.user.detail", 2}, {"ui.prompts.authenticate", 1}});
    host.authenticator.isAdministrator.set(true);
    host.authenticator.duringDialog.set([this] {
        host.authenticator.duringDialog.set({});
        play({"< duration 3"}); // for the prompt that is open, but busy
        play({"minute", "> end 1 timeout", "/data/b", "< deny", "> prompt 2 advanced", "> state 2",
            "> end 2 denied"});
    });
    play({"/data/a", "< allow", "> prompt 1 advanced", "/data/c", "< allow", "> prompt 3 advanced",
        "> end 3 allowed"});
    EXPECT_EQ(host.driver.responses().at(0).code, int{RESPONSE_NOT_ANSWERED});
}

// Who reads no events cannot know what would be allowed.
TEST_F(LinePromptPresenterTest, CommandsOfAScriptThatReadsNoMoreAreNotTaken)
{
    somebodyReads = false;
    play({"< wait", "< allow", "/data/a", "> prompt 1 advanced", "< allow", "minute"});
    EXPECT_EQ(host.driver.responses().at(0).code, int{RESPONSE_NOT_ANSWERED});
}

}
}
