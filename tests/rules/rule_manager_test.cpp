#include "foundation/files.h"
#include "foundation/log.h"
#include "literal_rules.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

namespace vossel {
namespace {

using Texts = std::vector<std::string>;

class Store : public testing::Test {
protected:
    void SetUp() override
    {
        std::filesystem::create_directories(files_.directories.sharedData());
        std::filesystem::create_directories(files_.directories.support());
    }
    static void write(const std::string& path, std::string_view content)
    {
        ASSERT_TRUE(writeFile(path, content));
    }
    void writePreferences(PropertyList::Dictionary values) const
    {
        write(files_.directories.preferences(),
            *writePropertyList(PropertyList(std::move(values)), PropertyListFormat::Xml));
    }
    // Each file has one rule, whose path is its name.
    void writeConfiguration(const std::string& mainRules = {}) const
    {
        const auto& at = files_.directories;
        for (const auto& [path, name] : {std::pair(at.userRules("ann"), "own"),
                 {at.systemRules(), "main"}, {at.paranoidSystemRules(), "paranoid"},
                 {at.userSystemRules(), "user"}, {at.webcamSystemRules(), "webcam"},
                 {at.startupSystemRules(), "startup"}, {at.execSystemRules(), "exec"},
                 {at.failsafeRules(), "never"}, {at.userRules("bob"), "never"}})
            write(
                path, mainRules + "allow path " + name + " any r" + "\nwatch path common any r\n");
    }
    [[nodiscard]] std::unique_ptr<RuleManager> load() const
    {
        return RuleManager::initWithCurrentUserConfiguration(files_);
    }
    static std::string pathsOf(const RuleManager& store)
    {
        std::string paths;
        for (const auto* rule : store.policyRules())
            paths.append(paths.empty() ? "" : " ").append(rule->path());
        return paths;
    }

    test::TemporaryDirectory root_;
    RuleFiles files_{Directories(root_.path()), "ann"};
};

TEST_F(Store, OptionsSayWhichFilesAreRead)
{
    using Values = PropertyList::Dictionary;
    constexpr std::int64_t two = 2;
    const auto number = [](auto value) { return PropertyList(value); };
    const struct {
        const char* story;
        std::optional<Values> preferences;
        const char* statements; // of every file
        const char* read;
    } rows[] = {
        {"preferences",
            Values{{"policy.global.user", number(two)},
                {"policy.global.startup", PropertyList(std::string(" 2abc"))}},
            "", "own main webcam exec"},
        {"any number that is 2 in 32 bits",
            Values{{"policy.global.exec", number(two + (two << 31))},
                {"policy.global.webcam", number(2.9)}, {"policy.global.user", number(true)}},
            "", "own main user startup"},
        {"statements", std::nullopt,
            "set policy.global.user 2\nset policy.global.exec \" +2x\" y\n"
            "set policy.global.exec 0\nset policy.global.webcam two\n",
            "own main webcam startup"},
        {"preferences before statements", Values{}, "set policy.global.user 2\n",
            "own main user webcam startup exec"},
        {"paranoid preference", Values{{"policy.global.paranoid", number(std::int64_t{1})}}, "",
            "own paranoid user webcam startup exec"},
        {"paranoid statement", std::nullopt, "set policy.global.paranoid 1\n",
            "own main user webcam startup exec"},
    };
    for (const auto& [story, preferences, statements, read] : rows) {
        SCOPED_TRACE(story);
        writeConfiguration(statements);
        std::filesystem::remove(files_.directories.preferences());
        if (preferences)
            writePreferences(*preferences);
        const auto store = load();
        EXPECT_EQ(pathsOf(*store), read);
        EXPECT_EQ(store->watchRules().size(), 1U);
    }

    writePreferences({{"access.user.create", PropertyList(std::string("yes"))},
        {"access.user.restrict", number(two)}, {"access.user.detail", number(std::int64_t{-1})}});
    writeConfiguration("set \"own option\" -1\nset \"own option\" 5\nset access.user.detail 7\n");
    auto store = load();
    EXPECT_EQ(store->filterOptions().size(), 18U);
    EXPECT_EQ(store->getOption("access.user.create"), 1U);
    EXPECT_EQ(store->getOption("access.user.restrict"), 1U);
    EXPECT_EQ(store->getOption("access.user.detail"), 0xFFFFFFFFU);
    EXPECT_EQ(store->getOption("own option"), 0xFFFFFFFFU);
    EXPECT_EQ(store->getOption("own optio"), 0U);
    // The path counts, not what the file is read as.
    const auto beside = files_.directories.systemRules() + ".old";
    write(beside, "set x 3\n");
    store = RuleManager::initWithContentsOfFile(beside, false, files_);
    EXPECT_EQ(store->filterOptions().front(), (FilterOption{3, "x"}));
    EXPECT_EQ(store->filterOptions().size(), 16U);
}

TEST_F(Store, TheUsersRuleWinsAndIsWrittenBack)
{
    const auto& at = files_.directories;
    const std::string own = "allow path \"/a\" \"any\" r \"mine\" \"\" \"0\"\n";
    write(at.userRules("ann"), own + "allow path /a any r other\n");
    write(at.systemRules(), "allow path /a any r\ndeny path /b any r\nallow path /a any r u\n");
    const auto store = load();
    EXPECT_EQ(test::describedAll(store->policyRules()),
        (Texts{"0|1|/a|any|Any Process|mine||1|0|0|0|0|0|", "1|1|/b|any|Any Process|||1|0|0|3|1|1|",
            "0|1|/a|any|Any Process|||1|1|0|4|1|1|"}));
    EXPECT_EQ(store->sortedKeys(), Texts{"Any Process:Any Process:(null):"});
    EXPECT_EQ(store->readOutcome(at.userRules("ann")), ReadOutcome::Read);
    EXPECT_EQ(store->readOutcome(at.execSystemRules()), ReadOutcome::Missing);

    store->applyFilterWithString("MINE");
    store->sortIndexUsingDescriptors({{SortDescriptor::Key::Sequence, false}});
    EXPECT_TRUE(store->writeToCurrentUserConfiguration());
    EXPECT_EQ(*readFile(at.userRules("ann"), 1'000), own);
    store->reloadCurrentUserConfiguration();
    EXPECT_EQ(test::describedAll(store->policyRules()),
        Texts{"0|1|/a|any|Any Process|mine||1|0|0|5|0|0|"});
    store->applyFilterWithString("");
    EXPECT_EQ(store->totalRules(true), 3U);
    EXPECT_EQ(store->ruleAtIndex(0, true).sequence(), 8);
    EXPECT_EQ(store->totalRules(false), 1U);
}

TEST_F(Store, LogsWhatItReads)
{
    write(files_.directories.systemRules(),
        "allow prefix /a any rw u TEAM\nset a -1\nwatch path /w any reader us\n"
        "allow prefix /a any rw u TEAM\nset b 2\n");
    Texts lines;
    setLogSink([&lines](std::string_view line) { lines.emplace_back(line); });
    RuleManager store(files_);
    EXPECT_TRUE(store.addFileContents(files_.directories.systemRules(), true));
    setLogSink({});
    const std::string rule = "policy class 0 type 0 path /a process any operations 3 flags 1 "
                             "constraint TEAM to application directory for "
                             "'Any Process:Any Process:(null):TEAM'";
    EXPECT_EQ(lines,
        (Texts{rule, "option a set to 4294967295",
            "watch policy type 1 path /w proc any operations 1 (reader)", rule,
            "option b set to 2"}));
}

TEST_F(Store, IsMadeOnce)
{
    writeConfiguration();
    EXPECT_EQ(RuleManager::sharedManager(files_).totalRules(true), 7U);
    EXPECT_EQ(&RuleManager::sharedManager({}), &RuleManager::sharedManager(files_));
}

// Rebuilds at once whatever an operation rebuilds.
struct EagerStore : test::LiteralStore {
    std::string filter;
    std::vector<SortDescriptor> order;
    std::vector<std::shared_ptr<Rule>> shown;
    std::vector<std::shared_ptr<Rule>> policies;

    void rebuild()
    {
        const TextSearch search(filter);
        shown.clear();
        policies.clear();
        for (const auto& rule : all()) {
            const bool isPolicy = rule->getPolicyClass() != POLICY_CLASS_WATCH;
            if (!search.foundIn(rule->path()) && !search.foundIn(rule->processName())
                && !(isPolicy && search.foundIn(rule->tag())))
                continue;
            shown.push_back(rule);
            if (isPolicy)
                policies.push_back(rule);
        }
        sort();
    }
    void sort()
    {
        // From the last key to the first, each keeping the order of those before.
        for (auto key = order.rbegin(); key != order.rend(); ++key)
            std::stable_sort(shown.begin(), shown.end(), [key](const auto& a, const auto& b) {
                const auto& first = key->ascending ? a : b;
                const auto& second = key->ascending ? b : a;
                return sortedBy(key->key, *first) < sortedBy(key->key, *second);
            });
    }
    // Numbers, which have no sign here, sort by their length first.
    static std::pair<std::size_t, std::string> sortedBy(SortDescriptor::Key key, const Rule& rule)
    {
        using Key = SortDescriptor::Key;
        const bool isText = key >= Key::Path && key <= Key::Constraint;
        const auto part = test::partsOf(rule)[static_cast<std::size_t>(key)];
        return {isText ? 0 : part.size(), part};
    }
    template <class RuleType, class Equal>
    static bool removeFirst(std::vector<std::shared_ptr<RuleType>>& rules, const Equal& equal)
    {
        const auto found = std::find_if(rules.begin(), rules.end(), equal);
        const bool removes = found != rules.end();
        if (removes)
            rules.erase(found);
        return removes;
    }
};

// Changes both stores alike.
bool changeBoth(
    RuleManager& store, EagerStore& eager, test::Choices& choices, const Directories& at)
{
    const auto random = [&choices] {
        test::LiteralStore made;
        made.read(choices.ruleLine(), {choices.below(3) == 0, false});
        return made.all().front();
    }();
    const auto policy = std::dynamic_pointer_cast<PolicyRule>(random);
    const auto watch = std::dynamic_pointer_cast<WatchRule>(random);
    switch (choices.below(8)) {
    case 0:
    case 1: {
        const auto path = choices.below(2) == 0 ? at.failsafeRules() : at.systemRules();
        const auto content
            = choices.ruleLines(choices.below(30)) + (choices.below(9) == 0 ? "\xFF" : "");
        const RulesKind kind{choices.below(2) == 0, path == at.systemRules()};
        EXPECT_TRUE(writeFile(path, content));
        eager.read(content, kind, !kind.setsOptions);
        return store.addFileContents(path, kind.system);
    }
    case 2:
        eager.filter = choices.of(std::array{"", "TOOL", "d/", "A TAG", "/bin/", "s"});
        store.applyFilterWithString(eager.filter);
        break;
    case 3:
        eager.order.clear();
        for (auto keys = choices.below(4); keys > 0; --keys)
            eager.order.push_back(
                {static_cast<SortDescriptor::Key>(choices.below(13)), choices.below(2) == 0});
        eager.sort();
        store.sortIndexUsingDescriptors(eager.order);
        return true;
    case 4:
    case 5: {
        const auto removed
            = policy ? store.deletePolicyRule(*policy) : store.deleteWatchRule(*watch);
        const bool expected = policy
            ? EagerStore::removeFirst(eager.groupOf(*policy),
                [&](const auto& other) { return policy->isEqualToPolicyRule(*other); })
            : EagerStore::removeFirst(eager.watchRules,
                [&](const auto& other) { return watch->isEqualToWatchRule(*other); });
        EXPECT_EQ(removed, expected);
        if (!removed)
            return true;
        break;
    }
    case 6:
        store.rebuildRulesCache();
        break;
    default:
        if (policy)
            eager.groupOf(*policy).push_back(policy);
        else
            eager.watchRules.push_back(watch);
        EXPECT_TRUE(policy ? store.addPolicyRule(*policy) : store.addWatchRule(*watch));
    }
    eager.rebuild();
    return true;
}

TEST_F(Store, ShowsWhatAnEagerStoreShows)
{
    test::Choices choices;
    for (int round = 0; round < 40; ++round) {
        RuleManager store(files_);
        EagerStore eager;
        for (int i = 0; i < 60; ++i) {
            SCOPED_TRACE(round * 1'000 + i);
            ASSERT_TRUE(changeBoth(store, eager, choices, files_.directories));
            auto own = eager.shown;
            std::erase_if(own, [](const auto& rule) { return rule->system(); });
            if (choices.below(3) == 0) {
                ASSERT_EQ(store.totalRules(true), eager.shown.size());
                ASSERT_EQ(store.totalRules(false), own.size());
            }
            if (choices.below(3) == 0) {
                Texts shown[2];
                for (const bool all : {false, true})
                    for (std::size_t at = 0; at < store.totalRules(all); ++at)
                        shown[all].push_back(test::described(store.ruleAtIndex(at, all)));
                ASSERT_EQ(shown[1], test::describedAll(eager.shown));
                ASSERT_EQ(shown[0], test::describedAll(own));
                ASSERT_EQ(
                    test::describedAll(store.policyRules()), test::describedAll(eager.policies));
            }
        }
        // All of the user's rules, shown or not.
        std::ptrdiff_t written = 0;
        for (const auto& rule : eager.all())
            written += rule->system() ? 0 : 1;
        ASSERT_TRUE(store.writeToFile(root_ / "out"));
        EXPECT_EQ(std::ranges::count(*readFile(root_ / "out", 1'000'000), '\n'), written);
    }
}

TEST_F(Store, FindsTheFirstCoveringRuleOfEach)
{
    EXPECT_TRUE(isBitwiseInclusive(0x0F, 0xFF00000F));
    EXPECT_FALSE(isBitwiseInclusive(0x7F, 0x80));
    test::Choices choices;
    for (int round = 0; round < 300; ++round) {
        RuleManager store;
        for (auto left = choices.below(40); left > 0; --left) {
            PolicyRule rule;
            rule.setProcessName("any via tool"); // one application, whatever the constraint
            rule.setPath(
                choices.of(std::array{"", "any", "/", "/a", "/a/", "/a/b", "/ab", "/b/a", "a"}));
            rule.setOperations(choices.of(std::array{1U, 3U, 16U}));
            rule.setPolicyType(choices.of(std::array{0, 1}));
            rule.setPolicyClass(choices.of(std::array{0, 0, 0, 1}));
            rule.setConstraint(choices.of(std::array{"", "", "TEAM"}));
            store.addPolicyRule(rule);
        }
        const auto& rules = store.policyRules();
        const auto covering = coveringRules(rules);
        for (std::size_t i = 0; i < rules.size(); ++i) {
            const auto& rule = *rules[i];
            const auto first = std::ranges::find_if(rules, [&rule](const PolicyRule* other) {
                const bool everyPath = other->path().empty() || other->path() == "any";
                return other != &rule && other->policyClass() == rule.policyClass()
                    && other->constraint() == rule.constraint()
                    && (other->operations() & rule.operations()) == rule.operations()
                    && (everyPath
                        || (other->policyType() == 0 && rule.path().starts_with(other->path())));
            });
            const auto* expected = first == rules.end() ? nullptr : *first;
            ASSERT_EQ(covering[i], expected);
            ASSERT_EQ(store.ruleCovering(rule), expected);
            ASSERT_EQ(store.isRedundant(rule), expected != nullptr);
            ASSERT_TRUE(store.isRedundant(PolicyRule(rule)) || rule.policyType() != 0); // a copy
        }
    }
}

}
}
