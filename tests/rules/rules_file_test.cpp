#include "foundation/log.h"
#include "foundation/text_format.h"
#include "reading_check.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

namespace vossel {
namespace {

class RulesFile : public testing::Test {
protected:
    [[nodiscard]] std::unique_ptr<RuleManager> storeOf(std::string_view content) const
    {
        EXPECT_TRUE(writeFile(path_, content));
        return RuleManager::initWithContentsOfFile(path_, false, {Directories(root_.path()), ""});
    }
    static std::string contentOf(const std::string& path)
    {
        return *readFile(path, std::size_t{64} << 20U);
    }
    test::TemporaryDirectory root_;
    std::string path_ = root_ / "rules.rc";
};

TEST_F(RulesFile, TellsHowAReadingWent)
{
    constexpr const char* rule = "allow path /a p r\n";
    const auto in = [this](const char* name) { return root_ / name; };
    const auto make = [&](const char* name, std::string_view content) {
        EXPECT_TRUE(writeFile(in(name), content));
        return in(name);
    };
    const std::string many = test::Choices().ruleLines(12'000);
    std::filesystem::create_directories(in("folder/x"));
    std::filesystem::create_symlink(make("read", rule), in("link"));
    std::filesystem::create_symlink(in("missing"), in("nowhere"));
    std::filesystem::resize_file(make("huge", "x"), std::uintmax_t{5} << 30U);
    EXPECT_EQ(::chmod(make("closed", rule).c_str(), 0), 0);
    const bool isRoot = ::getuid() == 0; // whom no permission binds
    constexpr unsigned nobody = 65'534;
    ASSERT_TRUE(
        !isRoot || (::chown(root_.path().c_str(), nobody, nobody) == 0 && ::seteuid(nobody) == 0));

    const auto notRead = "Failed to read() file '%@': %@ (%@)";
    const auto notOpened = "Failed to open file '%@' for reading: %@ (%@)";
    const auto notLoaded = "failed to load contents of %@";
    using Outcome = ReadOutcome;
    struct Row {
        std::string path;
        Outcome outcome;
        const char* message = "";
        int error = 0;
        const char* log = "";
    };
    std::vector<Row> rows = {
        {in("read"), Outcome::Read},
        {"", Outcome::Unreadable, "Internal error: the path provided was null", 0,
            "could not open null path"},
        {in("missing"), Outcome::Missing, "", 0, notLoaded},
        {in("read/x"), Outcome::Missing, "", 0, notLoaded},
        {in("nowhere"), Outcome::Missing, "", 0, notLoaded},
        {std::string(5'000, 'x'), Outcome::Unreadable, "", 0, notLoaded},
        {make("empty", ""), Outcome::Empty, "", 0, notLoaded},
        {in("folder"), Outcome::Unreadable, notRead, EISDIR},
        {in("link"), Outcome::Unreadable, notOpened, ELOOP},
        {in("closed"), Outcome::Unreadable, notOpened, EACCES},
        {in("huge"), Outcome::Unreadable, "Internal error: unable to allocate memory", 0,
            "failed to allocate buffer for %@"},
        {make("nul", rule + std::string("deny path /b p r\0\xFF", 18)), Outcome::CutByNul},
        {make("late nul", many + std::string("\0\xFF", 2)), Outcome::CutByNul},
        {make("all nul", std::string(3, '\0')), Outcome::CutByNul},
        {make("half", rule + std::string("\xC3")), Outcome::NotUtf8, "", 0, notLoaded},
        {make("half and nul", std::string("x\xC3\0", 3)), Outcome::NotUtf8, "", 0, notLoaded},
        {make("late byte", many + "\xFF"), Outcome::NotUtf8, "", 0, notLoaded},
    };
    // It announces more than it holds.
    if (const std::string less = "/sys/kernel/uevent_seqnum"; fileSize(less).bytes > 1'000)
        rows.push_back({less, Outcome::Unreadable, notRead, 0});

    RuleManager store;
    EXPECT_EQ(store.lastReadOutcome(), std::nullopt);
    std::string logged;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path.substr(0, 200));
        const auto filled = [&row](const char* format) {
            return formatText(format, {row.path, errorText(row.error), std::to_string(row.error)});
        };
        logged.clear();
        setLogSink([&logged](std::string_view line) {
            if (!line.starts_with("policy ") && !line.starts_with("watch "))
                logged += line;
        });
        store.setLastErrorMessage("an older one");
        EXPECT_EQ(store.addFileContents(row.path, false), *row.message == '\0');
        setLogSink({});
        EXPECT_EQ(store.lastErrorMessage().value_or(""), filled(row.message));
        EXPECT_EQ(logged, filled(row.log));
        EXPECT_EQ(store.lastReadOutcome(), row.outcome);
        EXPECT_EQ(store.readOutcome(row.path), row.outcome);
    }
    EXPECT_TRUE(!isRoot || ::seteuid(0) == 0);
    store.rebuildRulesCache();
    test::LiteralStore literal;
    for (const auto& content : {rule + std::string(), "deny path /b p r\n" + many})
        literal.read(content, {});
    EXPECT_EQ(store.totalRules(true), literal.all().size());
}

TEST(RulesReading, TakesAnyBytesAsTheLiteralRulesDo)
{
    EXPECT_EQ(test::literalFields("a\"b c\"d \"\" two \"w x"),
        (std::vector<std::string>{"a", "b c", "d", "", "two", "x"}));
    const std::array<std::string, 18> pieces
        = {"\n", "\n", "\v", "\f", "\r", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9", "\xE2\x80\xA7",
            "\xC2\x84", "\xE2", " ", " ", "\"", "\"", "set a -7\n", std::string(63, 'b'), "\x0E\t"};
    const test::ReadingCheck check;
    test::Choices choices;
    for (int i = 0; i < 600; ++i) {
        std::string files[2];
        for (auto& content : files)
            for (auto left = choices.below(40); left > 0; --left)
                content += choices.below(2) == 0 ? choices.ruleLine() : choices.of(pieces);
        auto& large = files[1];
        if (i % 50 == 0) // runs around what is looked at in one go
            large.insert(choices.below(large.size() + 1), 65'536 - choices.below(80), 'c');
        if (i % 200 == 0) { // longer than what is read at a time, as is a line of the half of them
            while (large.size() < 600'000)
                large += "deny path \"/" + std::string(choices.below(9'000), 'x')
                    + "\xC3\xA4\" any r"
                    + choices.of(std::array{"\n", "\xE2\x80\xA8", "\xC2\x85", "\r\n"});
            if (i % 400 == 0)
                large.insert(0, "allow path /" + std::string(800'000, 'y') + " any r\n");
        }
        if (i % 7 == 0)
            large.insert(
                choices.below(large.size() + 1), 1, choices.of(std::string_view("\0\xFF", 2)));
        const auto kind = static_cast<test::ReadingCheck::Kind>(choices.below(4));
        ASSERT_EQ(check.complaint(files[0], large, kind), "") << i;
    }
}

TEST_F(RulesFile, WritesItsLinesExactly)
{
    const std::string own = "allow path \"/a\" \"any\" r \"\" \"\" \"0\"\n";
    const auto store = storeOf("allow path /a any r");
    WatchRule watch;
    watch.setPolicyType(9);
    watch.setTag("a \"b\" \"");
    watch.setPath(std::string("/\xFF\0", 3)); // would cost the whole file
    PolicyRule policy;
    policy.setPolicyClass(2);
    policy.setPolicyType(-1);
    policy.setOperations(32 + 16 + 1);
    policy.setFlags(3);
    policy.setTag("\"\"");
    policy.setConstraint("a \"b");
    policy.setCreated(UINT64_MAX);
    policy.setSystem(true);
    store->addPolicyRule(policy);
    std::filesystem::permissions(path_, std::filesystem::perms(0600));
    EXPECT_TRUE(store->writeToFile(path_));
    EXPECT_EQ(store->lastErrorMessage(), std::nullopt);
    EXPECT_EQ(contentOf(path_), own);
    EXPECT_EQ(std::filesystem::status(path_).permissions(), std::filesystem::perms(0640));

    EXPECT_TRUE(store->writeToFile(path_, {&policy, nullptr, &watch, &policy}));
    const std::string line = "watch err \"\" \"\" rx \"\" \"a \"b\" \"-1\"\n";
    EXPECT_EQ(contentOf(path_), line + "watch err \"/\uFFFD\uFFFD\" \"\"  \"a b \"\n" + line);
    EXPECT_TRUE(store->writeToFile(path_, {}));
    EXPECT_EQ(contentOf(path_), "");
}

TEST_F(RulesFile, SaysWhyItCannotBeWritten)
{
    const auto store = storeOf("allow path /a p r\n");
    const auto missing = root_ / "missing/file";
    EXPECT_FALSE(store->writeToFile(missing));
    EXPECT_EQ(store->lastErrorMessage(),
        "Failed to open file '" + missing + "' for writing: No such file or directory (2)");
    EXPECT_TRUE(store->writeToFile("/dev/full"));
    EXPECT_EQ(store->lastErrorMessage(),
        "Failed write() operation on file '/dev/full' No space left on device (28)");
    EXPECT_TRUE(store->writeToFile("/dev/null"));
    EXPECT_EQ(store->lastErrorMessage(), std::nullopt);
}

// Each NAME.rc, and beside it what writing its rules gives. The name begins with how it is read.
TEST_F(RulesFile, Corpus)
{
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VOSSEL_RULES_CORPUS)) {
        auto path = entry.path();
        if (path.extension() != ".rc")
            continue;
        ++files;
        SCOPED_TRACE(path);
        RuleManager store;
        const auto kind = path.filename().string();
        if (kind.starts_with("failsafe"))
            store.setFailsafeFile(path);
        EXPECT_TRUE(store.addFileContents(path, kind.starts_with("system")));
        store.rebuildRulesCache();
        std::vector<const Rule*> rules;
        for (std::size_t i = 0; i < store.totalRules(true); ++i)
            rules.push_back(&store.ruleAtIndex(i, true));
        EXPECT_TRUE(store.writeToFile(path_, rules));
        EXPECT_EQ(contentOf(path_), contentOf(path.replace_extension(".expected")));
    }
    EXPECT_GE(files, 10U);
}

}
}
