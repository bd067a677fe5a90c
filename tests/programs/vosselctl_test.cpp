#include "support/temporary_directory.h"
#include "wire/driver_messages.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <string>
#include <vector>

namespace vossel::test {

namespace {

using Json = nlohmann::json;
using Arguments = std::vector<std::string>;

struct Outcome {
    int status = -1;
    std::string output;
    std::string error;
};

// The built program, with files in place of its three streams.
class VosselctlTest : public testing::Test {
protected:
    Outcome run(const Arguments& arguments, const std::string& input = {})
    {
        std::ofstream(at("input"), std::ios::binary) << input;
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, 0, at("input").c_str(), O_RDONLY, 0);
        constexpr int fresh = O_WRONLY | O_CREAT | O_TRUNC;
        posix_spawn_file_actions_addopen(&files, 1, at("output").c_str(), fresh, 0600);
        posix_spawn_file_actions_addopen(&files, 2, at("error").c_str(), fresh, 0600);
        std::string program = VOSSELCTL;
        std::vector<char*> argv{program.data()};
        auto copies = arguments;
        for (auto& copy : copies)
            argv.push_back(copy.data());
        argv.push_back(nullptr);
        pid_t pid = 0;
        const int failure = posix_spawn(&pid, VOSSELCTL, &files, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&files);
        int status = 0;
        if (failure != 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status))
            return {};
        return {WEXITSTATUS(status), content("output"), content("error")};
    }

    // What `query make` writes for these options.
    std::string made(Arguments options)
    {
        options.insert(options.begin(), {"query", "make"});
        auto outcome = run(options);
        EXPECT_EQ(outcome.status, 0) << outcome.error;
        return outcome.output;
    }

    Json shown(const std::string& record, Arguments options = {})
    {
        options.insert(options.begin(), {"query", "show", "-", "--home", "/Users/ann"});
        const auto outcome = run(options, record);
        EXPECT_EQ(outcome.status, 0) << outcome.error;
        EXPECT_EQ(outcome.output.find('\n'), outcome.output.size() - 1);
        return Json::parse(outcome.output, nullptr, false);
    }

    [[nodiscard]] std::string at(const std::string& name) const { return directory_ / name; }

private:
    [[nodiscard]] std::string content(const std::string& name) const
    {
        std::ifstream file(at(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TemporaryDirectory directory_;
};

TEST_F(VosselctlTest, EveryFieldMadeIsFoundInTheRecordAndShownAgain)
{
    const Arguments options{"--pid", "-2147483648", "--ppid", "1", "--flags", "4294967295",
        "--operation", "2", "--constraint-type", "-3", "--security-token", "3000000000",
        "--process-name", "/opt/an editor (-x", "--parent-name", "/bin/sh", "--teamid",
        "Debian123456789", "--identity", "ed:amd64", "--query-path", "/srv/\xff/\xc3\xa9.txt",
        "--code-sign-state", "2", "--signer", "The Signer", "--constraints", "00fF10", "--cs-valid",
        "--cs-adhoc", "--platform-binary"};
    const auto record = made(options);
    ASSERT_EQ(record.size(), sizeof(policy_query));
    policy_query query;
    std::memcpy(&query, record.data(), sizeof query);

    policy_query expected{};
    expected.pid = -2147483647 - 1;
    expected.ppid = 1;
    expected.flags = 4294967295U;
    expected.operation = OPERATION_WRITE;
    expected.constraint_type = -3;
    expected.security_token = 3000000000U;
    storeText(expected.process_name, "/opt/an editor (-x");
    storeText(expected.parent_name, "/bin/sh");
    storeText(expected.cs_info.teamid, "Debian123456789");
    storeText(expected.cs_info.identity, "ed:amd64");
    storeText(expected.path, "/srv/\xff/\xc3\xa9.txt");
    expected.reserved1 = CODE_SIGN_VALID;
    storeText(expected.reserved2, "\t\tThe Signer");
    expected.process_constraints.sha256[1] = 0xff;
    expected.process_constraints.sha256[2] = 0x10;
    expected.cs_info.cs_valid = expected.cs_info.cs_adhoc = expected.cs_info.platform_binary = 1;
    EXPECT_EQ(std::memcmp(&query, &expected, sizeof query), 0);

    const auto json = shown(record);
    const Json wanted{{"pid", -2147483648LL}, {"ppid", 1}, {"flags", 4294967295U}, {"operation", 2},
        {"constraint_type", -3}, {"security_token", 3000000000U},
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
    EXPECT_EQ(json, wanted);
}

TEST_F(VosselctlTest, AMessageCarriesTheSameRecord)
{
    const Arguments options{"--pid", "7", "--query-path", "/a"};
    const auto record = made(options);
    auto withMessage = options;
    withMessage.emplace_back("--message");
    const auto message = made(withMessage);
    ASSERT_EQ(message.size(), sizeof(policy_query_message));
    policy_query_message whole;
    std::memcpy(&whole, message.data(), sizeof whole);
    EXPECT_EQ(whole.type, MSG_POLICY_QUERY);
    EXPECT_EQ(message.substr(messagePayloadOffset), record);
    EXPECT_EQ(shown(message), shown(record));
}

TEST_F(VosselctlTest, TheSentenceFollowsTheKindOfPromptAndThePrefix)
{
    struct Row {
        const char* path;
        const char* operation;
        Arguments options;
        const char* message;
        int alertType;
        const char* rewritten;
    };
    const Row rows[] = {
        {"/etc/passwd", "1", {}, "Vossel detected an attempt to read the following file...", 0,
            "/etc/passwd"},
        {"/etc/passwd", "1", {"--advanced"},
            "Vossel detected an attempt to read the following file...", 0, "/etc/passwd"},
        {"/etc/passwd", "1", {"--simple"}, "cp would like to access the file /etc/passwd", 0,
            "/etc/passwd"},
        {"/usr/bin", "16", {"--simple"}, "cp would like to run programs in your \"bin\" folder.", 0,
            "/usr/bin"},
        {"/Applications/X.app/a", "2", {}, "cp would like to update or remove applications.", 0,
            "/Applications/X.app/a"},
        {"/Applications/X.app/a", "2", {"--simple"},
            "cp would like to update or remove applications.", 0, "/Applications/"},
        {"/Volumes/Disk/a", "2", {"--simple"}, "cp would like to access the volume \"Disk\".", 0,
            "/Volumes/Disk/"},
        {"/Users/ann/Library/LaunchAgents/a", "4", {"--simple"},
            "cp would like to install or modify a background application in your account.", 0,
            "/Users/ann/Library/LaunchAgents/"},
        {"/t/Users/Shared/Vossel/first_run", "2", {"--prefix", "/t"},
            "cp would like to access your Vossel rules.", 3, "/t/Users/Shared/Vossel/first_run"},
        {"/srv", "8", {"--simple"}, "Vossel detected an attempt to mount a file system.", 0,
            "/srv"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.path << (row.options.empty() ? "" : row.options[0]));
        const auto json = shown(made({"--query-path", row.path, "--process-name", "/bin/cp",
                                    "--operation", row.operation}),
            row.options);
        EXPECT_EQ(json["message"], row.message);
        EXPECT_EQ(json["alertType"], row.alertType);
        EXPECT_EQ(json["path"], row.rewritten);
        EXPECT_EQ(json["queryPath"], row.path);
    }
}

TEST_F(VosselctlTest, OnlyAnAdministratorMayAnswerForExactlyAFolder)
{
    const auto record = made({"--query-path", "/srv/a/", "--operation", "1"});
    EXPECT_EQ(shown(record, {"--admin"})["paths"],
        Json({"Only /srv/a/", "In /srv/a/", "In /srv/", "Any Files"}));
    EXPECT_EQ(
        shown(record, {"--no-admin"})["paths"], Json({"In /srv/a/", "In /srv/", "Any Files"}));
}

TEST_F(VosselctlTest, ProcessesThatRunNowAreAncestors)
{
    const auto json = shown(
        made({"--process-name", "/bin/cp", "--ppid", std::to_string(getpid()), "--pid", "1"}));
    const auto own = std::filesystem::read_symlink("/proc/self/exe").string();
    const auto& nearest = json["processes"][3];
    EXPECT_EQ(nearest["path"], own);
    EXPECT_EQ(nearest["tag"], PROCESS_ANY_WITH_ANCESTOR);
}

TEST_F(VosselctlTest, AResponseIsShownFieldByField)
{
    user_prompt_response response{};
    response.duration = DURATION_UNTIL_RESTART;
    response.decision = DECISION_DENY;
    response.code = -1;
    response.pathType = PATH_EXTENSION;
    response.process = PROCESS_ANY_WITH_ANCESTOR;
    response.constraint_type = CONSTRAINT_THIS_VERSION;
    std::memset(response.path, 'p', sizeof response.path); // without its NUL
    storeText(response.user_data, "/bin/\x80sh");
    response.skey[0] = 0xa0;
    response.operations = 17;
    response.security_token = 4294967295U;
    response.pid = 99;
    const std::string bytes(reinterpret_cast<const char*>(&response), sizeof response);
    const auto outcome = run({"response", "show", "-", "--pretty"}, bytes);
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    const Json wanted{{"duration", 2}, {"decision", 1}, {"code", -1}, {"pathType", 2},
        {"process", 6}, {"constraint_type", 1}, {"path", std::string(1024, 'p')},
        {"user_data", "/bin/\xef\xbf\xbdsh"}, {"skey", "a0" + std::string(126, '0')},
        {"operations", 17}, {"security_token", 4294967295U}, {"pid", 99}};
    EXPECT_EQ(Json::parse(outcome.output, nullptr, false), wanted);
}

TEST_F(VosselctlTest, WrongCallsEndWithStatus2AndOneSentence)
{
    const std::string tooMuch(1024, 'x');
    struct Row {
        Arguments arguments;
        std::size_t inputSize;
        std::string sentence; // a part of it
    };
    std::vector<Row> rows = {
        {{}, 0, "subcommand"},
        {{"query", "make", "extra"}, 0, "extra"},
        {{"query", "show"}, 0, "FILE"},
        {{"query", "show", at("missing")}, 0, at("missing")},
        {{"query", "show", "/"}, 0, "/"},
        {{"query", "show", "-", "--admin", "--no-admin"}, 3356, "--admin"},
        {{"query", "show", "-", "--simple", "--advanced"}, 3356, "--simple"},
        {{"query", "make", "--pid", "1", "--pid", "2"}, 0, "--pid"},
        {{"query", "make", "--pid", "2147483648"}, 0, "2147483647"},
        {{"query", "make", "--pid", "1x"}, 0, "1x"},
        {{"query", "make", "--pid", "0x1"}, 0, "0x1"},
        {{"query", "make", "--pid", " 1"}, 0, "\" 1\""},
        {{"query", "make", "--operation", ""}, 0, "--operation"},
        {{"query", "make", "--flags", "-1"}, 0, "4294967295"},
        {{"query", "make", "--security-token", "4294967296"}, 0, "--security-token"},
        {{"query", "make", "--query-path", tooMuch}, 0, "--query-path: the text has 1024"},
        {{"query", "make", "--process-name", tooMuch}, 0, "at most 1023"},
        {{"query", "make", "--identity", tooMuch.substr(0, 64)}, 0, "at most 63"},
        {{"query", "make", "--teamid", tooMuch.substr(0, 16)}, 0, "at most 15"},
        {{"query", "make", "--signer", tooMuch.substr(0, 126)}, 0, "--signer"},
        {{"query", "make", "--constraints", "0g"}, 0, "0g"},
        {{"query", "make", "--constraints", "012"}, 0, "--constraints"},
        {{"query", "make", "--constraints", std::string(66, '0')}, 0, "at most 64"},
    };
    for (const std::size_t size : {0U, 1U, 2148U, 3355U, 3357U, 3383U, 3385U, 70000U})
        rows.push_back({{"query", "show", "-"}, size, "standard input"});
    for (const std::size_t size : {0U, 2147U, 2149U, 3356U})
        rows.push_back({{"response", "show", "-"}, size, "standard input"});
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.arguments) + std::to_string(row.inputSize));
        const auto outcome = run(row.arguments, std::string(row.inputSize, '\xff'));
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.output, "");
        EXPECT_NE(outcome.error.find(row.sentence), std::string::npos) << outcome.error;
        EXPECT_EQ(outcome.error.find('\n'), outcome.error.size() - 1) << outcome.error;
    }
}

// No NUL anywhere, no valid UTF-8, every number negative.
TEST_F(VosselctlTest, ARecordOfNothingButOnesIsShown)
{
    const auto json = shown(std::string(sizeof(policy_query), '\xff'), {"--simple"});
    EXPECT_EQ(json["pid"], -1);
    EXPECT_EQ(json["codeSignText"], "Unknown Codesign State");
    EXPECT_EQ(json["queryPath"].get<std::string>().size(), 3 * 1024U);
}

}

}
