#include "agent/driver_link.h"
#include "foundation/files.h"
#include "foundation/property_list.h"
#include "hosts/simulated/simulated_host.h"
#include "hosts/terminal/line_output.h"
#include "hosts/terminal/prompt_lines.h"
#include "prompting/permissions_manager.h"
#include "settings/directories.h"
#include "support/temporary_directory.h"
#include "ui/prompt/prompt_windows.h"
#include "user/user_checks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

namespace vossel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

// The whole agent on a simulated machine, spoken to in lines.
class PromptLinesTest : public testing::Test {
protected:
    PromptLinesTest()
    {
        std::filesystem::create_directories(directories.sharedData());
        writePreferences({});
        lines.setManager(&manager);
        manager.setPromptFactory(&prompts);
        link.setResponseListener(&lines);
        host.processes.add(4242, 77, "/opt/Notes");
        host.processes.add(77, 1, "/usr/bin/shell");
        EXPECT_TRUE(host.threads.launch("driver loop", [this] { link.agent_main(); }));
        EXPECT_TRUE(host.driver.waitUntil([this] { return link.isConnected(); }));
    }
    ~PromptLinesTest() override
    {
        host.clock.stop();
        host.driver.vanish();
        host.threads.joinAll();
        host.mainThread.runPending();
    }

    // Advanced prompts, where nothing else is said.
    void writePreferences(std::initializer_list<std::pair<const char*, std::int64_t>> values)
    {
        PropertyList list;
        list.set("access.user.detail", PropertyList(std::int64_t{2}));
        for (const auto& [key, value] : values)
            list.set(key, PropertyList(value));
        ASSERT_TRUE(writeFile(
            directories.preferences(), *writePropertyList(list, PropertyListFormat::Xml)));
    }
    void chooseSimplePrompts() { writePreferences({{"access.user.detail", 0}}); }

    void send(std::string_view path, std::uint32_t token = 1)
    {
        policy_query query{};
        query.pid = 4242;
        query.ppid = 77;
        query.operation = OPERATION_READ;
        query.security_token = token;
        query.reserved1 = CODE_SIGN_VALID;
        storeText(query.path, path);
        storeText(query.process_name, "/opt/Notes");
        storeText(query.parent_name, "/usr/bin/shell");
        storeText(query.cs_info.teamid, "TEAM");
        host.driver.sendQuery(query);
    }
    // Commands, one a line.
    void type(std::string_view text)
    {
        std::istringstream stream{std::string(text)};
        for (std::string line; std::getline(stream, line);)
            lines.take(line, false);
    }

    static std::string inShort(const Json& event)
    {
        const auto text = [&](const char* key) { return event.value(key, std::string()); };
        const std::string id = event.contains("id") ? " " + event["id"].dump() : "";
        if (text("event") == "error")
            return "error " + text("command") + ": " + text("reason");
        const std::string rest = text("event") == "prompt" ? " " + text("kind")
            : text("event") == "end"                       ? " " + text("outcome")
                                                           : "";
        return text("event") + id + rest;
    }
    std::vector<std::string> told()
    {
        std::vector<std::string> list;
        for (const Json& event : events.get())
            list.push_back(inShort(event));
        return list;
    }
    // Runs the agent until this has been told `times` times.
    bool runUntil(const std::string& event, std::ptrdiff_t times = 1)
    {
        return host.mainThread.runUntil([&] {
            const auto all = told();
            return std::count(all.begin(), all.end(), event) >= times;
        });
    }
    Json last(const std::string& event, const char* field)
    {
        Json found;
        for (const Json& one : events.get()) {
            if (one["event"] == event)
                found = one[field];
        }
        return found;
    }
    // Returns when a query's thread waits, so that time may pass.
    void expectWaiting() { EXPECT_TRUE(host.clock.waitForWaiters(2)); }

    TemporaryDirectory directory;
    Directories directories{directory.path()};
    Guarded<std::vector<Json>> events;
    Guarded<std::size_t> readerLeavesAfter{1000};
    SimulatedHost host;
    LineOutput output{[this](std::string_view line) {
        events.with([&](auto& list) { list.push_back(Json::parse(line)); });
        return events.get().size() < readerLeavesAfter.get();
    }};
    UserChecks userChecks{host.host, directories};
    FilterStatus status;
    PromptLines lines{output, host.mainThread, host.clock};
    PermissionsManager manager{host.host, directories, userChecks};
    PromptWindows prompts{PromptContext{host.host, directories, manager, lines}};
    DriverLink link{host.host, directories, userChecks, status, manager};
};

TEST_F(PromptLinesTest, ASimplePromptIsShownAndAllowed)
{
    chooseSimplePrompts();
    send("/data/\xff", 4711);
    ASSERT_TRUE(runUntil("prompt 1 simple"));
    type("duration 2\nallow\n");
    ASSERT_TRUE(runUntil("end 1 allowed"));
    EXPECT_THAT(told(), ElementsAre("prompt 1 simple", "state 1", "end 1 allowed"));
    EXPECT_EQ(last("prompt", "state"),
        Json::parse(R"({"sentence":"Notes via shell would like to access the file /data/\uFFFD",
            "alertType":0,"codeSignState":2,"codeSign":"","allow":{"hidden":false,"highlighted":false},
            "deny":{"hidden":false,"highlighted":false},"touchBarRequired":false,"secondsLeft":60,
            "icon":")"
            + directories.programIcon()
            + R"(","iconKind":"file","application":"Notes via shell","duration":1,
            "foreverHidden":false})"));
    EXPECT_EQ(last("state", "state")["duration"], 2);
    Json response = last("end", "response");
    EXPECT_EQ(response["skey"].get<std::string>().size(), 128U);
    response.erase("skey");
    EXPECT_EQ(response, Json::parse(R"({"duration":2,"decision":0,"code":0,"pathType":0,"process":0,
        "constraint_type":2,"path":"/data/\uFFFD","user_data":"","operations":7,
        "security_token":4711,"pid":0})"));
}

TEST_F(PromptLinesTest, AnAdvancedPromptIsShapedAndDenied)
{
    send("/data/notes/a.txt");
    ASSERT_TRUE(runUntil("prompt 1 advanced"));
    const Json shown = last("prompt", "state");
    const Json& processes = shown["processes"];
    ASSERT_EQ(processes[0], Json::parse(R"({"title":"","tag":-1})"));
    const auto ancestor = std::find_if(
        processes.begin(), processes.end(), [](const Json& item) { return item.contains("path"); });
    ASSERT_NE(ancestor, processes.end());
    EXPECT_EQ((*ancestor)["tag"], int{PROCESS_ANY_WITH_ANCESTOR});
    const auto folder = std::find(shown["paths"].begin(), shown["paths"].end(), "In /data/");
    ASSERT_NE(folder, shown["paths"].end());
    const auto path = std::to_string(folder - shown["paths"].begin());
    const auto process = std::to_string(ancestor - processes.begin());

    type("path " + path + "\nprocess " + process + "\nduration 3\noperations\nupdates off\nstate");
    ASSERT_TRUE(runUntil("state 1", 6));
    Json expected = shown;
    expected["path"] = folder - shown["paths"].begin();
    expected["process"] = ancestor - processes.begin();
    expected["processTitle"] = (*ancestor)["title"];
    expected["duration"] = 3;
    expected["operations"] = "Read Only";
    expected["updates"]["checked"] = false;
    EXPECT_EQ(last("state", "state"), expected);
    type("deny");
    ASSERT_TRUE(runUntil("end 1 denied"));
    const user_prompt_response response = host.driver.responses().at(0);
    EXPECT_EQ(std::tuple(response.decision, response.duration, response.pathType, response.process,
                  response.operations, response.constraint_type, textOf(response.path),
                  std::string(textOf(response.user_data))),
        std::tuple(DECISION_DENY, DURATION_FOREVER, PATH_PREFIX, PROCESS_ANY_WITH_ANCESTOR,
            OPERATION_READ, CONSTRAINT_THIS_VERSION, std::string_view("/data/"),
            (*ancestor)["path"].get<std::string>()));
}

TEST_F(PromptLinesTest, TheSwitchToTheAdvancedPromptKeepsTheNumber)
{
    chooseSimplePrompts();
    send("/data/a");
    type("duration 3\nadvanced\nadvanced\ndeny");
    ASSERT_TRUE(runUntil("end 1 denied"));
    EXPECT_THAT(told(),
        ElementsAre("prompt 1 simple", "state 1", "prompt 1 advanced", "state 1",
            "error advanced: this prompt has no such control", "end 1 denied"));
    EXPECT_EQ(last("state", "state")["duration"], 3); // taken over
    EXPECT_EQ(last("end", "response")["duration"], 3);
}

TEST_F(PromptLinesTest, WhatCannotBeDoneChangesNothing)
{
    struct Row {
        const char* what;
        std::int64_t detail;
        const char* path;
        const char* commands;
        std::vector<std::string> errors;
    };
    const Row rows[] = {
        {"entries that are not there", 2, "/data/a",
            "path 99\nprocess 0\nprocess 99\nduration 4\nadvanced\n\nfly\npath",
            {"path 99: there is no such entry", "process 0: there is no such entry",
                "process 99: there is no such entry",
                "duration 4: this prompt has no such duration",
                "advanced: this prompt has no such control"}},
        {"disabled controls", 2, "/dev/bpf3", "path 0", {"path 0: this control is disabled"}},
        {"rules about the rules", 2, "(shared)x", "duration 3",
            {"duration 3: this prompt has no such duration"}},
        {"a simple prompt's", 0, "(shared)x",
            "duration 3\nduration 0\npath 0\nprocess 1\nupdates on\noperations",
            {"duration 3: this prompt has no such duration",
                "duration 0: this prompt has no such duration",
                "path 0: this prompt has no such control",
                "process 1: this prompt has no such control",
                "updates on: this prompt has no such control",
                "operations: this prompt has no such control"}},
    };
    int count = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        writePreferences({{"access.user.detail", row.detail}});
        events.set({});
        std::string path = row.path;
        if (path.starts_with("(shared)"))
            path = directories.sharedData() + path.substr(8);
        send(path);
        const std::string id = std::to_string(++count);
        ASSERT_TRUE(runUntil("prompt " + id + (row.detail == 2 ? " advanced" : " simple")));
        type(std::string(row.commands) + "\nstate");
        ASSERT_TRUE(runUntil("state " + id));
        EXPECT_EQ(last("state", "state"), last("prompt", "state"));
        for (const std::string& error : row.errors)
            EXPECT_THAT(told(), testing::Contains("error " + error));
        type("allow");
        ASSERT_TRUE(runUntil("end " + id + " allowed"));
    }
}

TEST_F(PromptLinesTest, WhatIsNoCommandIsAnsweredAtOnce)
{
    type("fly\n  \npath x");
    lines.take("long", true);
    EXPECT_THAT(told(),
        ElementsAre("error fly: there is no such command",
            "error path x: this command takes one number", "error long: the line is too long"));
}

TEST_F(PromptLinesTest, ATouchBarPromptTakesNoDecisionAndRunsOutOfTime)
{
    writePreferences({{"ui.prompts.oob", 1}});
    send("/data/a");
    type("allow\ndeny\nduration 2");
    ASSERT_TRUE(runUntil("state 1"));
    EXPECT_THAT(told(),
        ElementsAre("prompt 1 advanced", "error allow: this prompt is answered on the touch bar",
            "error deny: this prompt is answered on the touch bar", "state 1"));
    EXPECT_EQ(last("state", "state")["touchBarRequired"], true);
    expectWaiting();
    host.advance(58'001ms);
    type("state");
    ASSERT_TRUE(runUntil("state 1", 2));
    EXPECT_EQ(last("state", "state")["secondsLeft"], 2);
    expectWaiting();
    host.advance(1'999ms);
    ASSERT_TRUE(runUntil("end 1 timeout"));
    EXPECT_EQ(last("end", "response")["code"], int{RESPONSE_NOT_ANSWERED});
}

TEST_F(PromptLinesTest, CommandsWaitForPrompts)
{
    type("duration 2\nwait\nallow\nwait\ndeny");
    send("/data/a");
    ASSERT_TRUE(runUntil("state 1"));
    host.mainThread.runPending();
    expectWaiting();
    host.advance(60s);
    ASSERT_TRUE(runUntil("end 1 timeout"));
    send("/data/b", 2);
    ASSERT_TRUE(runUntil("end 2 allowed"));
    send("/data/c", 3); // the one that the second "wait" leaves alone
    ASSERT_TRUE(runUntil("prompt 3 advanced"));
    host.mainThread.runPending();
    manager.cancelQuery();
    ASSERT_TRUE(runUntil("end 3 cancelled"));
    send("/data/d", 4);
    ASSERT_TRUE(runUntil("end 4 denied"));
    EXPECT_THAT(told(),
        ElementsAre("prompt 1 advanced", "state 1", "end 1 timeout", "prompt 2 advanced",
            "end 2 allowed", "prompt 3 advanced", "end 3 cancelled", "prompt 4 advanced",
            "end 4 denied"));
}

TEST_F(PromptLinesTest, WithdrawnPromptsEndOnce)
{
    send("/data/a");
    ASSERT_TRUE(runUntil("prompt 1 advanced"));
    EXPECT_TRUE(manager.reevaluateQuery());
    ASSERT_TRUE(runUntil("end 1 reevaluated"));
    send("/data/b", 2);
    ASSERT_TRUE(runUntil("prompt 2 advanced"));
    manager.cancelQuery();
    ASSERT_TRUE(runUntil("end 2 cancelled"));
    // Answered without a prompt: nothing is told.
    status.updateStatus(FILTER_DISABLED);
    send("/data/c", 3);
    ASSERT_TRUE(host.driver.waitUntil([&] { return host.driver.responses().size() == 3; }));
    host.mainThread.runPending();
    EXPECT_EQ(told().size(), 4U);
}

// The main thread stands still while the time runs out: the answer leaves and its end is told; what
// is typed now is meant for the next prompt.
TEST_F(PromptLinesTest, ACommandAfterTheEndIsForTheNextPrompt)
{
    send("/data/a");
    ASSERT_TRUE(runUntil("prompt 1 advanced"));
    expectWaiting();
    host.clock.advance(60s);
    ASSERT_TRUE(host.driver.waitUntil([&] { return !host.driver.responses().empty(); }));
    type("duration 3\nallow");
    ASSERT_TRUE(runUntil("end 1 timeout"));
    host.mainThread.runPending();
    send("/data/b", 2);
    ASSERT_TRUE(runUntil("end 2 allowed"));
    EXPECT_THAT(told(),
        ElementsAre(
            "prompt 1 advanced", "end 1 timeout", "prompt 2 advanced", "state 2", "end 2 allowed"));
}

TEST_F(PromptLinesTest, APromptThatWasNeverShownIsNotTold)
{
    send("/data/a");
    expectWaiting();
    host.clock.advance(60s); // before the main thread could show it
    ASSERT_TRUE(host.driver.waitUntil([&] { return host.driver.responses().size() == 1; }));
    send("/data/b", 2);
    type("deny");
    ASSERT_TRUE(runUntil("end 1 denied"));
    EXPECT_THAT(told(), ElementsAre("prompt 1 advanced", "end 1 denied"));
    EXPECT_EQ(last("end", "response")["security_token"], 2);
}

// While an administrator is asked for the first prompt, its time runs out and a second one comes.
TEST_F(PromptLinesTest, ALaterPromptIsAnsweredWhileADialogStands)
{
    writePreferences({{"ui.prompts.authenticate", 1}});
    host.authenticator.isAdministrator.set(true);
    host.authenticator.duringDialog.set([this] {
        host.authenticator.duringDialog.set({});
        type("duration 3"); // for the prompt that is open, but busy
        host.mainThread.runPending();
        expectWaiting();
        host.clock.advance(60s);
        ASSERT_TRUE(runUntil("end 1 timeout"));
        send("/data/b", 2);
        type("deny");
        ASSERT_TRUE(runUntil("end 2 denied"));
    });
    send("/data/a");
    type("allow");
    ASSERT_TRUE(runUntil("end 2 denied"));
    send("/data/c", 3);
    type("allow");
    ASSERT_TRUE(runUntil("end 3 allowed"));
    EXPECT_THAT(told(),
        ElementsAre("prompt 1 advanced", "end 1 timeout", "prompt 2 advanced", "state 2",
            "end 2 denied", "prompt 3 advanced", "end 3 allowed"));
    EXPECT_EQ(host.driver.responses().at(0).code, int{RESPONSE_NOT_ANSWERED});
}

TEST_F(PromptLinesTest, AFailedAuthenticationDenies)
{
    writePreferences({{"ui.prompts.authenticate", 1}});
    send("/data/a");
    type("duration 3\nallow");
    ASSERT_TRUE(runUntil("end 1 denied"));
    EXPECT_EQ(last("end", "response")["duration"], int{DURATION_ONCE});
}

// Who reads no events cannot know what would be allowed.
TEST_F(PromptLinesTest, CommandsOfAScriptThatReadsNoMoreAreNotTaken)
{
    readerLeavesAfter.set(1);
    type("wait\nallow"); // taken before the first event
    send("/data/a");
    ASSERT_TRUE(runUntil("prompt 1 advanced"));
    type("allow");
    host.mainThread.runPending();
    expectWaiting();
    host.advance(60s);
    ASSERT_TRUE(host.driver.waitUntil([&] { return host.driver.responses().size() == 1; }));
    EXPECT_EQ(host.driver.responses()[0].code, int{RESPONSE_NOT_ANSWERED});
    EXPECT_EQ(told().size(), 1U);
}

}
}
