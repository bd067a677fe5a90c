#include "driver/desk/decision_table.h"
#include "test_agent.h"

#include <gtest/gtest.h>

namespace vossel {
namespace {

Program program(const std::string& path, std::uint64_t inode, const std::string& signature = {})
{
    return {path, true, 1, inode, 100, signature};
}

Access accessTo(const std::string& path, std::int32_t operations = OPERATION_READ)
{
    Access access;
    access.operations = operations;
    access.path = path;
    access.program = program("/usr/bin/cat", 10, "coreutils");
    access.parent = program("/usr/bin/bash", 20);
    access.ancestors = {program("/usr/bin/login", 30)};
    return access;
}

user_prompt_response allow(const std::string& path, PathType type = PATH_EXACT)
{
    return test::answer(DECISION_ALLOW, path, DURATION_UNTIL_RESTART, type);
}

// Of an answer about "/g/a".
HeldDecision held(const user_prompt_response& response, const std::string& fileId = {})
{
    return heldDecision(response, accessTo("/g/a"), fileId).value_or(HeldDecision());
}

TEST(Decision, CoversProgramsByItsScopeAndTheirUpdatesWhereItSaysSo)
{
    Access other = accessTo("/g/a"), elsewhere = other, claimed = other, rewritten = other;
    other.program = program("/usr/bin/tac", 11, "coreutils");
    elsewhere.parent = program("/usr/bin/zsh", 21);
    elsewhere.ancestors.clear();
    // Another file that calls itself cat, run by one that calls itself bash.
    claimed.program = {"/usr/bin/cat", false, 9, 99, 1, ""};
    claimed.parent = {"/usr/bin/bash", false, 9, 98, 1, ""};
    claimed.ancestors = {{"/usr/bin/login", false, 9, 97, 1, ""}};
    rewritten.program.changed = 200;
    Access updated = rewritten;
    updated.program.inode = 11;
    Access replaced = updated; // by somebody else's file under the same path
    replaced.program.signature.clear();
    const Access accesses[]
        = {accessTo("/g/a"), other, elsewhere, claimed, rewritten, updated, replaced};

    const struct {
        ProcessScope scope;
        ConstraintType constraint;
        const char* covered; // of the accesses, in their order
    } rows[] = {
        {PROCESS_NONE, CONSTRAINT_UPDATES_COVERED, "+-+-++-"},
        {PROCESS_ANY, CONSTRAINT_UPDATES_COVERED, "+++++++"},
        {PROCESS_PROGRAM, CONSTRAINT_UPDATES_COVERED, "+-+-++-"},
        {PROCESS_PROGRAM, CONSTRAINT_THIS_VERSION, "+-+----"},
        {PROCESS_PROGRAM_VIA_PARENT, CONSTRAINT_UPDATES_COVERED, "+---++-"},
        {PROCESS_ANY_VIA_PARENT, CONSTRAINT_UPDATES_COVERED, "++--+++"},
        {PROCESS_ANY_WITH_ANCESTOR, CONSTRAINT_UPDATES_COVERED, "++--+++"},
    };
    for (const auto& row : rows) {
        user_prompt_response response = allow("");
        response.process = row.scope;
        response.constraint_type = row.constraint;
        storeText(response.user_data, "/usr/bin/login");
        std::string covered;
        for (const Access& access : accesses)
            covered += covers(held(response), access) ? '+' : '-';
        EXPECT_EQ(covered, row.covered) << "scope " << row.scope;
    }
}

TEST(Decision, IsAboutItsPathAndOnAFileAboutItsOtherNames)
{
    EXPECT_TRUE(covers(held(allow("/g/", PATH_PREFIX)), accessTo("/g/b")));
    EXPECT_FALSE(covers(held(allow("/g/a", PATH_PREFIX)), accessTo("/g/ab")));
    Access link = accessTo("/g/link");
    link.fileId = "id";
    EXPECT_TRUE(covers(held(allow("/g/a"), "id"), link));
    EXPECT_FALSE(covers(held(allow("/g/a/", PATH_PREFIX), "id"), link));
    EXPECT_FALSE(covers(held(allow("/g/a"), "other"), link));
    EXPECT_FALSE(covers(held(allow("/g/a")), accessTo("/g/b"))) << "no file has no name";
}

TEST(Decision, ThatIsNotUnderstoodHoldsForOneAccess)
{
    using R = user_prompt_response;
    const std::pair<std::int32_t R::*, std::int32_t> rows[]
        = {{&R::duration, DURATION_ONCE}, {&R::duration, 4}, {&R::duration, -1}, {&R::pathType, 3},
            {&R::process, 4}, {&R::process, 7}, {&R::operations, 1 << 20}};
    for (const auto& [field, value] : rows) {
        R response = allow("");
        response.*field = value;
        EXPECT_FALSE(heldDecision(response, accessTo("/g/a"), "id")) << value;
    }
}

TEST(DecisionTable, JudgesEachOperationByTheNewestAnswerThatHolds)
{
    constexpr std::int32_t read = OPERATION_READ, both = OPERATION_READ | OPERATION_WRITE;
    DecisionTable table;
    // Adds an answer and judges reading, reading and writing, and user 1000's reading.
    const auto after = [&](Decision decision, std::int32_t operations,
                           std::function<bool()> holds = {}, std::optional<uid_t> user = {}) {
        HeldDecision added = held(allow("/g/a"));
        added.allow = decision == DECISION_ALLOW;
        added.operations = operations;
        added.holds = std::move(holds);
        added.onlyUser = user;
        table.add(added);
        Access reading = accessTo("/g/a"), writing = accessTo("/g/a", both), users = reading;
        users.realUser = 1000;
        std::string verdicts;
        for (const Access& access : {reading, writing, users}) {
            const DecisionTable::Verdict verdict = table.judge(access);
            verdicts += verdict.deny ? '-' : verdict.isAllow() ? '+' : '?';
        }
        return verdicts;
    };
    EXPECT_EQ(after(DECISION_ALLOW, read), "+?+");
    EXPECT_EQ(after(DECISION_DENY, OPERATION_WRITE), "+-+");
    EXPECT_EQ(after(DECISION_ALLOW, both), "+++");
    EXPECT_EQ(after(DECISION_DENY, both), "---");
    EXPECT_EQ(table.size(), 3u) << "the same scope again takes the place of the one before";
    EXPECT_EQ(after(DECISION_ALLOW, both, {}, 1000), "--+") << "about nobody else";
    bool lives = true;
    EXPECT_EQ(after(DECISION_ALLOW, both, [&lives] { return lives; }), "+++");
    lives = false;
    EXPECT_TRUE(table.judge(accessTo("/g/a")).deny) << "what it hid holds again";
    EXPECT_EQ(after(DECISION_DENY, read), "---");
    EXPECT_EQ(table.size(), 4u) << "what no longer holds is forgotten";
}

}
}
