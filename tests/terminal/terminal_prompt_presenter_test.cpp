#include "frontends/terminal/terminal_choice.h"
#include "frontends/terminal/terminal_messages.h"
#include "frontends/terminal/terminal_prompt_presenter.h"
#include "support/agent_fixture.h"
#include "support/pty.h"
#include "support/queries.h"
#include "support/terminal_emulator.h"
#include "ui/prompt/prompt_view_model_factory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cstdlib>

namespace vossel::test {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

struct TerminalPromptPresenterTest : testing::Test, AgentFixture {
    TerminalPromptPresenterTest()
    {
        broker.setPromptFactory(&windows);
        host.processes.add(77, 1, "/usr/bin/bash");
        ::dprintf(pty.device(), "$ cat report.txt\r\n");
        look();
    }

    static TerminalChoice openChoice(const std::string& path)
    {
        ::setenv("TERM", "xterm-256color", 1);
        ::setenv("LC_ALL", "C.UTF-8", 1);
        return *TerminalChoice::open(path);
    }

    void present(policy_query query)
    {
        query.pid = 1; // has no terminal of its own
        query.ppid = 77;
        storeText(query.parent_name, "/usr/bin/bash");
        wait = std::make_shared<QueryWait>(host.clock.now() + 60s);
        broker.presentQueryToUser(query, wait);
        host.mainThread.runPending();
        look();
    }
    void presentArmed(const policy_query& query)
    {
        present(query);
        pass(PromptArming::armingTime);
    }
    void look() { screen.feed(pty.read()); }
    // Lets time pass as the agent's loop would.
    void pass(Clock::Duration time)
    {
        host.advance(time);
        look();
    }
    void type(std::string_view keys)
    {
        pty.type(keys);
        deliver();
        host.mainThread.runPending();
        look();
    }
    // What waits to be read goes to whoever watches for it.
    void deliver()
    {
        std::vector<pollfd> ready;
        for (const auto& [fd, readable] : watched)
            ready.push_back({fd, POLLIN, 0});
        ::poll(ready.data(), ready.size(), ready.empty() ? 0 : 5000);
        for (const pollfd& one : ready) {
            const auto readable = watched.find(one.fd);
            if (one.revents != 0 && readable != watched.end())
                std::function<void()>(readable->second)();
        }
    }
    std::string outcome() const
    {
        if (!wait->hasResponse())
            return "none";
        const user_prompt_response response = wait->response();
        return (response.decision == DECISION_ALLOW ? "allow " : "deny ")
            + std::to_string(response.duration) + " " + std::string(textOf(response.path));
    }

    Pty pty{80, 24};
    TerminalEmulator screen{80, 24};
    std::map<int, std::function<void()>> watched;
    TerminalChoice choice = openChoice(pty.path());
    TerminalMessages messages{choice, host.mainThread};
    TerminalPromptPresenter prompts{{host.clock, host.timers, host.mainThread,
                                        [this](int fd, std::function<void()> readable) {
                                            watched[fd] = std::move(readable);
                                            return std::shared_ptr<void>(
                                                nullptr, [this, fd](void*) { watched.erase(fd); });
                                        }},
        choice, messages};
    const Host ringing{host.clock, host.threads, host.mainThread, host.timers, host.driver,
        host.session, host.accounts, host.processes, host.installers, host.volumes,
        host.codeSigning, host.authenticator, host.notifications, host.notices, host.windows,
        host.workspace, host.processControl, prompts};
    PromptViewModelFactory windows{PromptContext{ringing, directories, broker, prompts}};
    std::shared_ptr<QueryWait> wait;
};

constexpr char allowKey[] = "\033\r";

TEST_F(TerminalPromptPresenterTest, ShowsBothPromptsAndGivesTheScreenBack)
{
    const std::string before = screen.text();
    presentArmed(makeQuery("/srv/work/report.txt"));
    EXPECT_EQ(screen.text(), R"(





  Vossel                                                             60 s left

 editor via bash would like to access the file /srv/work/report.txt

 Program    editor via bash  /usr/bin/editor (1)
 Parent     /usr/bin/bash (77)
 Signature  Signed by unknown

 How long   [^Q Until the program quits] ^R Until restart  ^F Forever

 Esc Deny    Alt-Return or A Allow    v Details    ? keys)");
    type("v");
    pass(PromptArming::armingTime + 600ms);
    type("\033[C\033[A\022p");
    EXPECT_EQ(screen.text(),
        R"(  Vossel                                                             59 s left

 Vossel detected an attempt to read the following file...

 File       /srv/work/report.txt
 Program    editor via bash  /usr/bin/editor (1)
 Parent     /usr/bin/bash (77)
 Signature  Signed by unknown

 Files      ( ) File Extension .txt
 ← →        ( ) Only /srv/work/report.txt
            (*) Only /srv/work/
            ( ) In /srv/work/  recommended
            ( ) In /srv/
            ( ) Any Files
 Programs   ( ) any process
 ↑ ↓        (*) editor
            ( ) editor via bash  recommended
            ( ) any process via bash
            ( ) any with ancestor bash
 How long    ^O Once  ^Q Until the program quits [^R Until restart] ^F Forever
 Access      p Read Only

 Esc Deny    Alt-Return or A Allow    ? keys)");
    EXPECT_TRUE(screen.ownScreen && screen.cursorHidden && !pty.isCooked());
    type(allowKey);
    EXPECT_EQ(outcome(), "allow 2 /srv/work/");
    EXPECT_FALSE(screen.ownScreen || screen.cursorHidden || !pty.isCooked());
    EXPECT_EQ(screen.text(), before);
    EXPECT_THAT(screen.offences, IsEmpty());
}

TEST_F(TerminalPromptPresenterTest, EachKeyDoesWhatItIsShownFor)
{
    const struct {
        const char* keys;
        const char* outcome;
        bool rings = false;
    } rows[] = {
        {"\033\r", "allow 1 /srv/"},
        {"A", "allow 1 /srv/"},
        {"\033[13;5u", "allow 1 /srv/"}, // Control-Return, where a terminal has it
        {"D", "deny 1 /srv/"},
        {"\017\033\r", "allow 0 /srv/"},
        {"\0333\033\r", "allow 2 /srv/"},
        {"\006\033\r", "allow 3 /srv/"},
        {"\033[D\033\r", "allow 1 "}, // any file
        {"\r", "none", true},
        {"\n", "none", true},
        {"\003", "none", true}, // Control-C is no Enter
        {"a", "none", true},
        {"u", "none", true},
        {"v", "none", true},
        {"\033[1;5D", "none", true},
        {"\033[200~A\r\033[201~", "none", true},
        {"lsA", "none", true},
    };
    chooseAdvancedPrompts();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.keys);
        presentArmed(makeQuery("/srv/x", OPERATION_WRITE));
        screen.bells = 0;
        type(row.keys);
        EXPECT_EQ(outcome(), row.outcome);
        EXPECT_EQ(screen.bells > 0, row.rings);
        broker.cancelQuery();
    }
}

TEST_F(TerminalPromptPresenterTest, WhatIsTypedTooEarlyAnswersNothing)
{
    pty.type("A\n");
    pollfd typed{pty.device(), POLLIN, 0};
    ASSERT_EQ(::poll(&typed, 1, 5000), 1);
    present(makeQuery("/srv/x"));
    screen.bells = 0;
    type("");
    EXPECT_EQ(screen.bells, 1);
    pass(PromptArming::armingTime - 1ms);
    type("\033"); // its rest is late, and would deny
    pass(1ms);
    pass(KeyParser::escapePause);
    EXPECT_EQ(outcome(), "none");
    type("\033");
    EXPECT_EQ(outcome(), "none");
    pass(KeyParser::escapePause);
    EXPECT_EQ(outcome(), "deny 1 /srv/x");
}

TEST_F(TerminalPromptPresenterTest, WhoGoesOnTypingAnswersNothing)
{
    present(makeQuery("/srv/x"));
    pass(PromptArming::armingTime - 1ms);
    type("d"); // too early, so the rest is too
    for (const char* key : {"e", "a", "r", " ", "A", "n", "n", ","}) {
        pass(120ms);
        type(key);
    }
    EXPECT_EQ(outcome(), "none");
    pass(2 * PromptArming::armingTime);
    for (const char* key : {"s", "o", "D", "A", allowKey}) {
        type(key);
        pass(120ms);
    }
    EXPECT_EQ(outcome(), "none");
    pass(500ms);
    type("A");
    EXPECT_EQ(outcome(), "allow 1 /srv/x");
}

// Nobody has read a prompt that the terminal did not take.
TEST_F(TerminalPromptPresenterTest, KeysCountOnceThePromptIsThere)
{
    ::tcflow(pty.device(), TCOOFF);
    policy_query query = makeQuery("/srv/x");
    query.pid = 1;
    wait = std::make_shared<QueryWait>(host.clock.now() + 60s);
    broker.presentQueryToUser(query, wait);
    host.mainThread.runPending();
    host.advance(5s);
    pty.type("A");
    deliver();
    EXPECT_EQ(outcome(), "none");
    ::tcflow(pty.device(), TCOON);
    pass(1s); // it is tried again at least once a second
    EXPECT_THAT(screen.text(), HasSubstr("Allow"));
    pass(PromptArming::armingTime);
    type("A");
    EXPECT_EQ(outcome(), "allow 1 /srv/x");
}

TEST_F(TerminalPromptPresenterTest, HostileTextsDoNothingToTheTerminal)
{
    chooseAdvancedPrompts();
    std::string path = "/srv/\033[2J\r\n\x9b"
                       "31m\xff\u202eexe\u0301\uac00/";
    path += std::string(800, 'x') + "/end";
    policy_query query = makeQuery(path);
    storeText(query.process_name, "/usr/\033]0;title\a/" + std::string(200, '\x01'));
    storeText(query.reserved2, "Sig\tner\t\033[41m\u2066");
    for (const auto& [width, height] : {std::pair{80, 24}, {200, 60}, {40, 10}, {7, 3}, {1, 1}}) {
        SCOPED_TRACE(width);
        pty.resize(width, height);
        screen = TerminalEmulator(width, height);
        presentArmed(query);
        EXPECT_THAT(screen.text(), Not(IsEmpty()));
        type("?");
        type("?");
        EXPECT_THAT(screen.text(), HasSubstr(width == 1 ? "E" : width == 7 ? "Esc" : "Allow"));
        if (width == 80) {
            EXPECT_THAT(
                screen.text(), AllOf(HasSubstr("/srv/\\e[2J\\r\\n\\x9b"), HasSubstr("/end")));
        }
        broker.cancelQuery();
        look();
        EXPECT_THAT(screen.offences, IsEmpty());
    }
}

// Once a second, and it has gone just before the answer that nobody gave.
TEST_F(TerminalPromptPresenterTest, CountsDownAndIsGoneBeforeTheQueryIs)
{
    const std::string before = screen.text();
    present(makeQuery("/srv/x"));
    EXPECT_EQ(host.timers.pending(), 1U);
    pass(58s);
    pass(1s);
    EXPECT_THAT(screen.text(), HasSubstr(" 1 s left"));
    pass(899ms);
    EXPECT_TRUE(screen.ownScreen);
    pass(1ms);
    EXPECT_EQ(screen.text(), before);
    EXPECT_EQ(host.timers.pending(), 0U);
    type(allowKey);
    EXPECT_EQ(outcome(), "none");
}

TEST_F(TerminalPromptPresenterTest, FollowsTheTerminalsSize)
{
    chooseAdvancedPrompts();
    presentArmed(makeQuery("/srv/work/report.txt"));
    pty.resize(50, 16);
    screen = TerminalEmulator(50, 16);
    prompts.terminalResized();
    look();
    EXPECT_EQ(screen.text(),
        R"(  Vossel                               60 s left
 Vossel detected an attempt to read the following
 file...
 File       /srv/work/report.txt
 Program    editor via bash  /usr/bin/editor (1)
 Parent     /usr/bin/bash (77)
 Files      ( ) Only /srv/work/
 ← →        (*) In /srv/work/  recommended
 4 of 6     ( ) In /srv/
 Programs   ( ) editor
 ↑ ↓        (*) editor via bash  recommended
 3 of 5     ( ) any process via bash
 How long    ^O Once [^Q Until the program quits]
             ^R Until restart  ^F Forever
 Access      p Read-Write
 Esc Deny    Alt-Return or A Allow    ? keys)");
    EXPECT_THAT(screen.offences, IsEmpty());
}

TEST_F(TerminalPromptPresenterTest, OnlyATouchBarMayAnswerWhereThatIsWanted)
{
    writePreferences({{"ui.prompts.oob", 1}});
    presentArmed(makeQuery("/srv/x"));
    EXPECT_THAT(screen.text(), AllOf(HasSubstr("touch bar"), Not(HasSubstr("Allow"))));
    for (const char* keys : {allowKey, "A", "D"}) {
        screen.bells = 0;
        type(keys);
        EXPECT_EQ(screen.bells, 1) << keys;
    }
    EXPECT_EQ(outcome(), "none");
}

TEST_F(TerminalPromptPresenterTest, AsksForAPasswordInThePrompt)
{
    presentArmed(makeQuery("/srv/x"));
    std::vector<std::string> answers;
    const auto take = [&](const std::optional<std::string>& answer) {
        answers.push_back(answer.value_or("none"));
    };
    prompts.ask("Password of ann", false, take);
    type("p\u00e4x\177s\r");
    prompts.ask("Code\033[2J", true, take);
    type("1\03325\025"
         "7");
    EXPECT_THAT(screen.text(), AllOf(HasSubstr("Code\\e[2J"), HasSubstr("> 7")));
    EXPECT_FALSE(screen.cursorHidden);
    prompts.ask("Again", true, take); // which ends the one before
    broker.cancelQuery(); // and this one
    host.mainThread.runPending();
    prompts.ask("Nowhere to ask", true, take);
    host.mainThread.runPending();
    EXPECT_THAT(answers, testing::ElementsAre("p\u00e4s", "none", "none", "none"));
}

TEST_F(TerminalPromptPresenterTest, GoesOnWithoutATerminalThatVanishes)
{
    present(makeQuery("/srv/x"));
    pty.vanish();
    host.advance(1s);
    EXPECT_FALSE(choice.own().has_value());
    host.advance(1s);
    EXPECT_FALSE(wait->isOver());
    broker.cancelQuery();
    present(makeQuery("/srv/y"));
    EXPECT_FALSE(wait->isOver());
}

TEST_F(TerminalPromptPresenterTest, LeavesALineOnWhatBecameOfAPrompt)
{
    presentArmed(makeQuery("/srv/\033x"));
    user_prompt_response response{};
    response.decision = DECISION_DENY;
    prompts.didDeliverResponse(response, QueryWait::Outcome::Answered);
    host.mainThread.runPending();
    broker.cancelQuery();
    prompts.didDeliverResponse(response, QueryWait::Outcome::TimedOut);
    prompts.didDeliverResponse(response, QueryWait::Outcome::Waiting); // was never shown
    host.mainThread.runPending();
    look();
    EXPECT_EQ(screen.text(),
        "$ cat report.txt\n"
        "editor via bash: /srv/\\ex: denied, once\n"
        "editor via bash: /srv/\\ex: not answered in time, denied");
}

}
}
