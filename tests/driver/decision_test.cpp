#include "driver/decision_table.h"

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

user_prompt_response response(PathType type, const std::string& path, std::int32_t operations,
    std::int32_t process = PROCESS_PROGRAM, Decision decision = DECISION_ALLOW)
{
    user_prompt_response made = {};
    made.duration = DURATION_UNTIL_RESTART;
    made.decision = decision;
    made.pathType = type;
    made.process = process;
    made.constraint_type = CONSTRAINT_UPDATES_COVERED;
    made.operations = operations;
    storeText(made.path, path);
    return made;
}

HeldDecision held(const user_prompt_response& from, const Access& asked, const std::string& id = {})
{
    return heldDecision(from, asked, id).value_or(HeldDecision());
}

TEST(Decision, CoversFilesByItsPath)
{
    const struct {
        PathType type;
        const char* path;
        const char* file;
        bool covered;
    } rows[] = {
        {PATH_PREFIX, "/g/a/", "/g/a/b", true},
        {PATH_PREFIX, "/g/a/", "/g/a/b/c", true},
        {PATH_PREFIX, "/g/a/", "/g/a", false},
        {PATH_PREFIX, "/g/a/", "/g/ab", false},
        {PATH_PREFIX, "/g/a", "/g/a", true},
        {PATH_PREFIX, "/g/a", "/g/a/b", true},
        {PATH_PREFIX, "/g/a", "/g/ab", false},
        {PATH_PREFIX, "", "/g/a", false},
        {PATH_EXACT, "/g/a", "/g/a", true},
        {PATH_EXACT, "/g/a", "/g/a/b", false},
        {PATH_EXACT, "", "/anything", true},
        {PATH_EXTENSION, ".txt", "/g/a.txt", true},
        {PATH_EXTENSION, ".txt", "/g/a.b.txt", true},
        {PATH_EXTENSION, ".txt", "/g/atxt", false},
        {PATH_EXTENSION, ".txt", "/g.txt/a", false},
        {PATH_EXTENSION, ".txt", "/g/.txt", false},
        {PATH_EXTENSION, ".", "/g/a", false},
        {PATH_EXTENSION, "", "/g/a", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.path) + " for " + row.file);
        const HeldDecision decision
            = held(response(row.type, row.path, OPERATION_READ), accessTo("/g/asked"));
        EXPECT_EQ(covers(decision, accessTo(row.file)), row.covered);
    }
}

TEST(Decision, CoversProgramsByItsScope)
{
    Access same = accessTo("/g/a");
    Access other = same;
    other.program = program("/usr/bin/tac", 11, "coreutils");
    Access elsewhere = same;
    elsewhere.parent = program("/usr/bin/zsh", 21);
    Access both = other;
    both.parent = elsewhere.parent;
    Access stranger = both;
    stranger.ancestors.clear();
    Access claimed = same;
    // another file that calls itself cat, run by one that calls itself bash
    claimed.program = {"/usr/bin/cat", false, 9, 99, 1, ""};
    claimed.parent = {"/usr/bin/bash", false, 9, 98, 1, ""};
    claimed.ancestors = {{"/usr/bin/login", false, 9, 97, 1, ""}};

    const struct {
        std::int32_t scope;
        std::string covered; // of: same, other, elsewhere, both, stranger, claimed
    } rows[] = {
        {PROCESS_NONE, "+-+---"},
        {PROCESS_ANY, "++++++"},
        {PROCESS_PROGRAM, "+-+---"},
        {PROCESS_PROGRAM_VIA_PARENT, "+-----"},
        {PROCESS_ANY_VIA_PARENT, "++----"},
        {PROCESS_ANY_WITH_ANCESTOR, "++++--"},
    };
    for (const auto& row : rows) {
        user_prompt_response from = response(PATH_EXACT, "", OPERATION_READ, row.scope);
        storeText(from.user_data, "/usr/bin/login");
        const HeldDecision decision = held(from, same);
        std::string covered;
        for (const Access* access : {&same, &other, &elsewhere, &both, &stranger, &claimed})
            covered += covers(decision, *access) ? '+' : '-';
        EXPECT_EQ(covered, row.covered) << "scope " << row.scope;
    }
}

TEST(Decision, OfAUserAboutTheirOwnCoversNobodyElses)
{
    user_prompt_response any = response(PATH_EXACT, "", OPERATION_READ, PROCESS_ANY, DECISION_DENY);
    const auto of = [](std::optional<uid_t> user) {
        Access access = accessTo("/g/a");
        access.realUser = user.value_or(access.realUser);
        return access;
    };
    HeldDecision own = held(any, of(1000));
    own.onlyUser = 1000;
    const HeldDecision everybodys = held(any, of(1000));
    for (const std::optional<uid_t> user : std::vector<std::optional<uid_t>>{1000, 1001, 0, {}}) {
        EXPECT_EQ(covers(own, of(user)), user == 1000u) << user.value_or(-1);
        EXPECT_TRUE(covers(everybodys, of(user)));
    }
    DecisionTable table;
    table.add(everybodys);
    own.allow = true;
    table.add(own);
    EXPECT_EQ(table.size(), 2u) << "no scope of two users is the same";
    EXPECT_TRUE(table.judge(of(1000)).isAllow());
    EXPECT_TRUE(table.judge(of(0)).deny);
}

TEST(Decision, FollowsUpdatesOnlyWhereTheyAreCovered)
{
    Access updated = accessTo("/g/a");
    updated.program.inode = 11;
    updated.program.changed = 200;
    Access replaced = updated;
    replaced.program.signature.clear();
    Access rewritten = accessTo("/g/a");
    rewritten.program.changed = 200;

    user_prompt_response from = response(PATH_EXACT, "", OPERATION_READ);
    const HeldDecision covering = held(from, accessTo("/g/a"));
    from.constraint_type = CONSTRAINT_THIS_VERSION;
    const HeldDecision exact = held(from, accessTo("/g/a"));
    EXPECT_TRUE(covers(covering, updated));
    EXPECT_FALSE(covers(covering, replaced)) << "somebody else's file under the same path";
    EXPECT_FALSE(covers(exact, updated));
    EXPECT_FALSE(covers(exact, rewritten));
    EXPECT_TRUE(covers(exact, accessTo("/g/a")));
}

TEST(Decision, OnAFileHoldsForItsOtherNames)
{
    Access link = accessTo("/g/link");
    link.fileId = "id";
    const Access asked = accessTo("/g/a");
    EXPECT_TRUE(covers(held(response(PATH_EXACT, "/g/a", 1), asked, "id"), link));
    EXPECT_FALSE(covers(held(response(PATH_PREFIX, "/g/a/", 1), asked, "id"), link));
    EXPECT_FALSE(covers(held(response(PATH_EXACT, "/g/a", 1), asked, "other"), link));
    EXPECT_FALSE(covers(held(response(PATH_EXACT, "/g/a", 1), asked, ""), accessTo("/g/b")));
}

TEST(Decision, ThatIsNotUnderstoodHoldsForOneAccess)
{
    const struct {
        const char* what;
        std::int32_t duration, pathType, process, operations;
    } rows[] = {
        {"once", DURATION_ONCE, PATH_EXACT, PROCESS_ANY, 1},
        {"unknown duration", 4, PATH_EXACT, PROCESS_ANY, 1},
        {"negative duration", -1, PATH_EXACT, PROCESS_ANY, 1},
        {"unknown path type", 2, 3, PROCESS_ANY, 1},
        {"negative path type", 2, -1, PROCESS_ANY, 1},
        {"unknown scope", 2, PATH_EXACT, 4, 1},
        {"scope beyond the last", 2, PATH_EXACT, 7, 1},
        {"no operation", 2, PATH_EXACT, PROCESS_ANY, 0},
        {"unknown operation", 2, PATH_EXACT, PROCESS_ANY, 1 << 20},
    };
    for (const auto& row : rows) {
        user_prompt_response from = response(PATH_EXACT, "", row.operations, row.process);
        from.duration = row.duration;
        from.pathType = row.pathType;
        EXPECT_FALSE(heldDecision(from, accessTo("/g/a"), "id")) << row.what;
    }
}

TEST(DecisionTable, JudgesEachOperationByTheNewestAnswer)
{
    constexpr std::int32_t readWrite = OPERATION_READ | OPERATION_WRITE;
    const Access asked = accessTo("/g/a");
    const auto add = [&](DecisionTable& table, std::int32_t operations, Decision decision) {
        table.add(held(response(PATH_EXACT, "/g/a", operations, PROCESS_PROGRAM, decision), asked));
    };
    using Verdict = DecisionTable::Verdict;
    DecisionTable table;
    EXPECT_EQ(table.judge(asked), (Verdict{false, OPERATION_READ}));
    add(table, OPERATION_READ, DECISION_ALLOW);
    EXPECT_TRUE(table.judge(asked).isAllow());
    EXPECT_EQ(table.judge(accessTo("/g/a", readWrite)), (Verdict{false, OPERATION_WRITE}));
    add(table, OPERATION_WRITE, DECISION_DENY);
    EXPECT_EQ(table.judge(accessTo("/g/a", readWrite)), (Verdict{true, 0}));
    add(table, readWrite, DECISION_ALLOW);
    EXPECT_TRUE(table.judge(accessTo("/g/a", readWrite)).isAllow());

    const std::size_t size = table.size();
    add(table, readWrite, DECISION_DENY);
    EXPECT_EQ(table.size(), size) << "the same scope again takes the place of the one before";
    EXPECT_TRUE(table.judge(asked).deny);
}

TEST(DecisionTable, ForgetsWhatNoLongerHolds)
{
    const Access asked = accessTo("/g/a");
    bool lives = true;
    DecisionTable table;
    table.add(held(response(PATH_EXACT, "/g/a", 1, PROCESS_PROGRAM, DECISION_DENY), asked));
    HeldDecision shorter = held(response(PATH_EXACT, "/g/a", 1), asked);
    shorter.holds = [&lives] { return lives; };
    table.add(shorter);
    EXPECT_TRUE(table.judge(asked).isAllow());
    lives = false;
    EXPECT_TRUE(table.judge(asked).deny) << "what it hid holds again";
    table.add(held(response(PATH_EXACT, "/g/b", 1), asked));
    EXPECT_EQ(table.size(), 2u);
}

}
}
