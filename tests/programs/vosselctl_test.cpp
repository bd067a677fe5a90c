#include "support/queries.h"
#include "vosselctl_run.h"

#include <cstring>
#include <filesystem>

namespace vossel::test {
namespace {

class VosselctlTest : public VosselctlFixture {
protected:
    std::string made(const Arguments& options) { return done({"query", "make"}, options); }
    Json shown(const std::string& record, const Arguments& options = {})
    {
        const auto line = done({"query", "show", "-", "--home", "/Users/ann"}, options, record);
        EXPECT_EQ(line.find('\n'), line.size() - 1);
        return Json::parse(line, nullptr, false);
    }
};

TEST_F(VosselctlTest, EveryFieldMadeIsShownAgain)
{
    const Arguments options{"--pid", "-2147483648", "--ppid", "1", "--flags", "4294967295",
        "--operation", "2", "--constraint-type", "-3", "--security-token", "3000000000",
        "--process-name", "/opt/an editor (-x", "--parent-name", "/bin/sh", "--teamid",
        "Debian123456789", "--identity", "ed:amd64", "--query-path", "/srv/\xff/\xc3\xa9.txt",
        "--code-sign-state", "2", "--signer", "The Signer", "--constraints", "00fF10", "--cs-valid",
        "--platform-binary"};
    const auto record = made(options);
    const Json expected{{"pid", -2147483648LL}, {"ppid", 1}, {"flags", 4294967295U},
        {"operation", 2}, {"constraint_type", -3}, {"security_token", 3000000000U},
        {"process_name", "/opt/an editor (-x"}, {"parent_name", "/bin/sh"},
        {"teamid", "Debian123456789"}, {"identity", "ed:amd64"},
        {"queryPath", "/srv/\xef\xbf\xbd/\xc3\xa9.txt"}, {"appPath", "/opt/an editor"},
        {"displayName", "an editor (-x via sh"},
        {"message", "Vossel detected an attempt to write to the following file..."},
        {"alertType", 0}, {"path", "/srv/\xef\xbf\xbd/\xc3\xa9.txt"},
        {"paths",
            {"File Extension .txt", "Only /srv/\xef\xbf\xbd/\xc3\xa9.txt",
                "Only /srv/\xef\xbf\xbd/", "In /srv/\xef\xbf\xbd/", "In /srv/", "Any Files"}},
        {"recommendedPathIndex", 3},
        {"processes",
            {{{"title", ""}, {"tag", -1}}, {{"title", "any process"}, {"tag", 1}},
                {{"title", "an editor (-x"}, {"tag", 2}},
                {{"title", "an editor (-x via sh"}, {"tag", 3}},
                {{"title", "any process via sh"}, {"tag", 5}}}},
        {"recommendedProcessIndex", 3}, {"isInstaller", false}, {"codeSignText", "The Signer"},
        {"codeSignState", 2}};
    EXPECT_EQ(shown(record), expected);

    policy_query query;
    ASSERT_EQ(record.size(), sizeof query);
    std::memcpy(&query, record.data(), sizeof query);
    EXPECT_EQ(query.process_constraints.sha256[1], 0xff); // not shown
    EXPECT_TRUE(query.cs_info.cs_valid && !query.cs_info.cs_adhoc && query.cs_info.platform_binary);

    const auto message = done({"query", "make", "--message"}, options);
    EXPECT_EQ(message.size(), sizeof(policy_query_message));
    EXPECT_EQ(message.substr(messagePayloadOffset), record);
    EXPECT_EQ(shown(message), expected);
}

TEST_F(VosselctlTest, ShowsWhatAPromptWouldSayToThisUser)
{
    const struct {
        std::string path;
        Arguments options;
        Json expected;
    } rows[] = {
        {"/Applications/X.app/a", {"--simple"}, {{"path", "/Applications/"}}},
        {"/t/Users/Shared/Vossel/first_run", {"--prefix", "/t"}, {{"alertType", 3}}},
        {"/srv/a/", {"--admin"},
            {{"paths", {"Only /srv/a/", "In /srv/a/", "In /srv/", "Any Files"}}}},
        {"/srv/a/", {"--no-admin"}, {{"paths", {"In /srv/a/", "In /srv/", "Any Files"}}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path + " " + testing::PrintToString(row.options));
        const auto json = shown(made({"--query-path", row.path}), row.options);
        EXPECT_EQ(json["queryPath"], row.path);
        for (const auto& [field, value] : row.expected.items())
            EXPECT_EQ(json[field], value);
    }
}

TEST_F(VosselctlTest, ProcessesThatRunNowAreAncestors)
{
    const auto json = shown(
        made({"--process-name", "/bin/cp", "--ppid", std::to_string(::getpid()), "--pid", "1"}));
    EXPECT_EQ(
        json["processes"][3]["path"], std::filesystem::read_symlink("/proc/self/exe").string());
    EXPECT_EQ(json["processes"][3]["tag"], PROCESS_ANY_WITH_ANCESTOR);
}

TEST_F(VosselctlTest, AResponseIsShownFieldByField)
{
    user_prompt_response response{2, 1, -1, 3, 6, 4, {}, {}, {0xa0}, 17, 4294967295U, 99};
    std::memset(response.path, 'p', sizeof response.path); // without its NUL
    storeText(response.user_data, "/bin/\x80sh");
    const std::string_view bytes(reinterpret_cast<const char*>(&response), sizeof response);
    const Json expected{{"duration", 2}, {"decision", 1}, {"code", -1}, {"pathType", 3},
        {"process", 6}, {"constraint_type", 4}, {"path", std::string(1024, 'p')},
        {"user_data", "/bin/\xef\xbf\xbdsh"}, {"skey", "a0" + std::string(126, '0')},
        {"operations", 17}, {"security_token", 4294967295U}, {"pid", 99}};
    EXPECT_EQ(Json::parse(done({"response", "show", "-", "--pretty"}, {}, bytes)), expected);
}

TEST_F(VosselctlTest, WrongCallsEndWithStatus2AndOneSentence)
{
    const auto bytes = [](std::size_t size) { return std::string(size, '\xff'); };
    std::vector<Refusal> rows = {
        {{"query", "show"}, "FILE"},
        {{"query", "show", "missing"}, "missing"},
        {{"query", "show", "-", "--admin", "--no-admin"}, "--admin", "output",
            bytes(sizeof(policy_query))},
        {{"query", "make"}, "standard output", "/dev/full"},
        {{"query", "make", "--pid", "2147483648"}, "2147483647"},
        {{"query", "make", "--pid", " 1"}, "\" 1\""},
        {{"query", "make", "--flags", "-1"}, "4294967295"},
        {{"query", "make", "--query-path", std::string(1024, 'x')},
            "--query-path: the text has 1024"},
        {{"query", "make", "--identity", std::string(64, 'x')}, "at most 63"},
        {{"query", "make", "--signer", std::string(126, 'x')}, "--signer"},
        {{"query", "make", "--constraints", "0g"}, "0g"},
        {{"query", "make", "--constraints", "012"}, "--constraints"},
        {{"query", "make", "--constraints", std::string(66, '0')}, "at most 64"},
    };
    for (const std::size_t size : {0, 3355, 3385, 70'000})
        rows.push_back({{"query", "show", "-"}, "standard input", "output", bytes(size)});
    for (const std::size_t size : {0, 2147, 2149})
        rows.push_back({{"response", "show", "-"}, "standard input", "output", bytes(size)});
    for (const auto& row : rows)
        expectRefusal(row);
}

// No NUL anywhere, no valid UTF-8, every number negative.
TEST_F(VosselctlTest, ARecordOfNothingButOnesIsShown)
{
    const auto json = shown(std::string(sizeof(policy_query), '\xff'), {"--simple"});
    EXPECT_EQ(json["pid"], -1);
    EXPECT_EQ(json["queryPath"].get<std::string>().size(), 3 * 1024U);
}

}
}
