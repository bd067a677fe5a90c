#include "foundation/files.h"
#include "foundation/log.h"
#include "foundation/text_format.h"
#include "literal_rules.h"
#include "random_rules.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

namespace vossel {
namespace {

constexpr std::size_t muchMore = std::size_t{64} << 20U;

// Permissions bind: root is another user, who owns the folder, while this lives.
class Unprivileged {
public:
    explicit Unprivileged(const std::string& folder)
    {
        EXPECT_TRUE(!isRoot
            || (::chown(folder.c_str(), nobody, nobody) == 0 && ::setegid(nobody) == 0
                && ::seteuid(nobody) == 0));
    }
    ~Unprivileged() { EXPECT_TRUE(!isRoot || (::seteuid(0) == 0 && ::setegid(0) == 0)); }
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

private:
    static constexpr unsigned nobody = 65'534;
    const bool isRoot = ::getuid() == 0;
};

class RulesFile : public testing::Test {
protected:
    [[nodiscard]] std::unique_ptr<RuleManager> storeOf(
        std::string_view content, bool system = false) const
    {
        EXPECT_TRUE(writeFile(path_, content));
        return RuleManager::initWithContentsOfFile(path_, system, {Directories(root_.path()), ""});
    }
    static std::string contentOf(const std::string& path)
    {
        const auto content = readFile(path, muchMore);
        return content ? *content : content.reason();
    }
    static struct stat factsOf(const std::string& path)
    {
        struct stat facts = {};
        EXPECT_EQ(::lstat(path.c_str(), &facts), 0);
        return facts;
    }
    [[nodiscard]] std::ptrdiff_t filesBeside() const
    {
        return std::distance(std::filesystem::directory_iterator(root_.path()), {});
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
    const Unprivileged user(root_.path());

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
    store.rebuildRulesCache();
    test::LiteralStore literal;
    for (const auto& content : {rule + std::string(), "deny path /b p r\n" + many})
        literal.read(content, {});
    EXPECT_EQ(store.totalRules(true), literal.all().size());
}

TEST_F(RulesFile, LargeFilesAreReadLikeSmallOnes)
{
    test::Choices choices;
    for (int i = 0; i < 4; ++i) {
        test::LiteralStore literal;
        std::string content;
        while (content.size() < 600'000) {
            auto line = choices.ruleLine();
            if (choices.below(3) == 0)
                line = "deny path \"/" + std::string(choices.below(9'000), 'x') + "\xC3\xA4\" any r"
                    + choices.of(std::array{"\n", "\xE2\x80\xA8", "\xC2\x85", "\r\n"});
            content += line;
        }
        if (i % 2 == 0) // longer than what is read at a time
            content.insert(choices.below(2) == 0 ? 0 : content.rfind('\n') + 1,
                "allow path /" + std::string(800'000, 'y') + " any r\n");
        if (i == 3)
            content.insert(content.rfind('\n', 500'000), 1, '\0');
        literal.read(content, {});
        const auto store = storeOf(content);
        std::vector<std::shared_ptr<Rule>> rules = literal.all();
        ASSERT_EQ(store->totalRules(true), rules.size());
        for (std::size_t at = 0; at < rules.size(); ++at)
            ASSERT_EQ(test::described(store->ruleAtIndex(at, true)), test::described(*rules[at]));
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
    EXPECT_EQ(factsOf(path_).st_mode, S_IFREG | 0640U);

    EXPECT_TRUE(store->writeToFile(path_, {&policy, nullptr, &watch, &policy}));
    const std::string line = "watch err \"\" \"\" rx \"\" \"a \"b\" \"-1\"\n";
    EXPECT_EQ(contentOf(path_), line + "watch err \"/\uFFFD\uFFFD\" \"\"  \"a b \"\n" + line);
    EXPECT_TRUE(store->writeToFile(path_, {}));
    EXPECT_EQ(contentOf(path_), "");
    EXPECT_EQ(filesBeside(), 1);
}

TEST_F(RulesFile, ManyRulesReadBackAsTheyWereWritten)
{
    std::string content;
    for (int i = 0; i < 300'000; ++i) {
        const auto number = std::to_string(1'000'000 + i);
        content.append("deny path \"/data/").append(number).append(" \xE2\x82\xAC\" \"/bin/p");
        content.append(number, 0, 5).append("\" rx \"tag ").append(number, 5, 2);
        content.append("\" \"\" \"").append(number).append("\"\n");
    }
    const auto store = storeOf(content);
    EXPECT_EQ(store->totalRules(false), 300'000U);
    EXPECT_TRUE(store->writeToFile(root_ / "copy"));
    EXPECT_TRUE(contentOf(root_ / "copy") == content);
}

TEST_F(RulesFile, SaysWhyItCannotBeWritten)
{
    const auto store = storeOf("allow path /a p r\n");
    const auto notOpened = "Failed to open file '%@' for writing: %@ (%@)";
    std::filesystem::create_symlink(path_, root_ / "link");
    ASSERT_EQ(::mkfifo((root_ / "fifo").c_str(), 0600), 0);
    const struct {
        std::string path;
        const char* message;
        int error;
    } rows[] = {
        {root_ / "link", notOpened, ELOOP},
        {root_ / "fifo", notOpened, ENXIO}, // nobody reads it: it must not wait for ever
        {root_.path(), notOpened, EISDIR},
        {root_ / "missing/file", notOpened, ENOENT},
        {"", notOpened, ENOENT},
        {"/dev/full", "Failed write() operation on file '%@' %@ (%@)", ENOSPC},
    };
    for (const auto& [path, message, error] : rows) {
        EXPECT_EQ(store->writeToFile(path), message != notOpened) << path;
        EXPECT_EQ(store->lastErrorMessage().value_or(""),
            formatText(message, {path, errorText(error), std::to_string(error)}));
    }
    EXPECT_TRUE(store->writeToFile("/dev/null"));
    EXPECT_EQ(store->lastErrorMessage(), std::nullopt);
    EXPECT_EQ(contentOf(path_), "allow path /a p r\n");
    EXPECT_EQ(filesBeside(), 3);
}

TEST_F(RulesFile, AFailedWriteLeavesTheOldFile)
{
    const auto rules = test::Choices().ruleLines(30'000);
    const auto store = storeOf(rules);
    EXPECT_TRUE(writeFile(path_, "old"));
    rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit little = {10, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &little), 0);
    const bool opened = store->writeToFile(path_);
    const bool openedNew = store->writeToFile(root_ / "new");
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_TRUE(opened && openedNew);
    EXPECT_EQ(store->lastErrorMessage().value_or(""),
        formatText("Failed write() operation on file '%@' %@ (%@)",
            {root_ / "new", errorText(EFBIG), std::to_string(EFBIG)}));
    EXPECT_EQ(contentOf(path_) + contentOf(root_ / "new"), "old");

    // Nothing is to be written, and there is no descriptor left for a second file.
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const UniqueFd next(::dup(0));
    const rlimit few = {static_cast<rlim_t>(next.get()) + 2, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    RuleManager empty;
    EXPECT_TRUE(empty.writeToFile(path_));
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_NE(empty.lastErrorMessage().value_or("").find(errorText(EMFILE)), std::string::npos);
    EXPECT_EQ(contentOf(path_), "old");
    EXPECT_EQ(filesBeside(), 2);
}

TEST_F(RulesFile, KeepsItsOwnerAndWritesWhereTheFolderIsClosed)
{
    const std::string line = "deny path \"/a\" \"p\" r \"\" \"\" \"0\"\n";
    const auto store = storeOf(line);
    const unsigned owner = ::getuid() == 0 ? 4'321 : ::getuid();
    const unsigned group = ::getuid() == 0 ? 1'234 : ::getgid();
    ASSERT_EQ(::chown(path_.c_str(), owner, group), 0);
    const auto old = factsOf(path_).st_ino;
    EXPECT_TRUE(store->writeToFile(path_));
    const auto replaced = factsOf(path_);
    EXPECT_EQ(std::tuple(replaced.st_uid, replaced.st_gid, replaced.st_mode & 07777U),
        std::tuple(owner, group, 0640U));
    EXPECT_NE(replaced.st_ino, old);

    const Unprivileged user(root_.path());
    const auto own = root_ / "own";
    ASSERT_TRUE(writeFile(own, std::string(1'000, 'x'), 0666));
    const auto inode = factsOf(own).st_ino;
    ASSERT_EQ(::chmod(root_.path().c_str(), 0500), 0);
    EXPECT_TRUE(store->writeToFile(own));
    EXPECT_EQ(store->lastErrorMessage(), std::nullopt);
    EXPECT_FALSE(store->writeToFile(root_ / "new"));
    EXPECT_EQ(contentOf(own), line);
    EXPECT_EQ(factsOf(own).st_mode & 07777U, 0640U);
    EXPECT_EQ(factsOf(own).st_ino, inode);
    ASSERT_EQ(::chmod(root_.path().c_str(), 0700), 0);
    EXPECT_EQ(filesBeside(), 2);
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
