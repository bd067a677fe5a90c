#include "driver/desk/answered_path.h"
#include "rules/rule_vocabulary.h"
#include "wire/driver_messages.h"

#include <gtest/gtest.h>

namespace vossel {
namespace {

const char* const paths[] = {"/g/a", "/g/a/", "/g/a/b", "/g/ab", "/g/a.txt", "/g/.txt", "/g/atxt",
    "/dev/bpf0", ":NVRAM/x", ":NVRAM/xy"};

std::string covered(PathKind kind, std::string_view text)
{
    std::string marks;
    for (const char* path : paths)
        marks += coversPath(kind, text, path) ? '+' : '-';
    return marks;
}

TEST(PathCover, OfARuleIsBytes)
{
    const struct {
        std::int32_t type;
        const char* path;
        const char* covered; // of the paths, in their order
    } rows[] = {
        {POLICY_TYPE_PREFIX, "/g/a/", "-++-------"},
        {POLICY_TYPE_PREFIX, "/g/a", "+++++-+---"},
        {POLICY_TYPE_PATH, "/g/a", "+---------"},
        {POLICY_TYPE_SUFFIX, ".txt", "----++----"},
        {POLICY_TYPE_PREFIX, "any", "++++++++++"},
        {POLICY_TYPE_PATH, "", "++++++++++"},
        {POLICY_TYPE_SUFFIX, "any", "++++++++++"},
        {POLICY_TYPE_UNKNOWN, "any", "----------"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(covered(pathKindOfRule(row.type, row.path), row.path), row.covered)
            << row.type << " '" << row.path << "'";
}

TEST(PathCover, OfAnAnswerIsNeverMoreThanItSays)
{
    const struct {
        const char* asked;
        std::int32_t type;
        const char* path;
        const char* covered; // "": the answer holds for one access
    } rows[] = {
        {"/g/a/b", PATH_PREFIX, "/g/a/", "-++-------"},
        {"/g/a/b", PATH_PREFIX, "/g/a", "-++-------"}, // a folder, for something lies in it
        {"/g/a", PATH_PREFIX, "/g/a", "+---------"},
        {"/g/ab", PATH_PREFIX, "/g/a", "+---------"},
        {"/dev/bpf3", PATH_PREFIX, "/dev/bpf", "-------+--"},
        {"/g/a", PATH_EXACT, "/g/a", "+---------"},
        {"/g/a", PATH_EXACT, "", "++++++++++"},
        {"/g/a", PATH_EXTENSION, ".txt", "----++----"},
        {":NVRAM/x", PATH_PREFIX, ":NVRAM/x", "--------++"},
        {":NVRAM/x", PATH_PREFIX, ":NVRAM/", "--------++"},
        {":NVRAM/x", PATH_EXACT, ":NVRAM/x", "--------+-"},
        {":NVRAM/x", PATH_PREFIX, "/", "--------+-"}, // "In :NVRAM/", as agents cut it
        {":NVRAM/x", PATH_EXACT, "/x", "--------+-"},
        {":NVRAM/x", PATH_EXACT, "", "--------+-"},
        {":NVRAM", PATH_PREFIX, ":NVRAM", "----------"},
        {"/g/a", PATH_PREFIX, "", ""},
        {"/g/a", PATH_EXACT, "any", ""},
        {"/g/a", PATH_EXTENSION, "", ""},
        {"/g/a", PATH_EXTENSION, ".", ""},
        {"/g/a", PATH_EXTENSION, "txt", ""},
        {"/g/a", 3, "/g/a", ""},
        {"/g/a", -1, "/g/a", ""},
    };
    for (const auto& row : rows) {
        const auto answered = answeredPath(row.type, row.path, row.asked);
        EXPECT_EQ(answered ? covered(answered->kind, answered->text) : "", row.covered)
            << row.asked << ": " << row.type << " '" << row.path << "'";
    }
}

}
}
