#include "foundation/files.h"
#include "foundation/log.h"
#include "literal_rules.h"
#include "random_rules.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <thread>

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

PolicyRule policyRule(
    std::string_view process, std::string_view path, std::string_view letters, int type = 0)
{
    PolicyRule rule;
    rule.setProcessName(process);
    rule.setPath(path);
    rule.setOperations(operationsForString(letters));
    rule.setPolicyType(type);
    return rule;
}

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
        (Texts{"0|1|/a|any|r|mine|||0|0|user", "1|1|/b|any|r||||0|3|system",
            "0|1|/a|any|r|||u|0|4|system"}));
    EXPECT_EQ(store->readOutcome(at.userRules("ann")), ReadOutcome::Read);
    EXPECT_EQ(store->readOutcome(at.execSystemRules()), ReadOutcome::Missing);

    store->applyFilterWithString("MINE");
    store->sortIndexUsingDescriptors({{SortDescriptor::Key::Sequence, false}});
    EXPECT_TRUE(store->writeToCurrentUserConfiguration());
    EXPECT_EQ(*readFile(at.userRules("ann"), 1'000), own);
    store->reloadCurrentUserConfiguration();
    EXPECT_EQ(test::describedAll(store->policyRules()), Texts{"0|1|/a|any|r|mine|||0|5|user"});
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

TEST_F(Store, IsMadeOnceForAllThreads)
{
    writeConfiguration();
    std::array<RuleManager*, 4> stores = {};
    std::vector<std::thread> threads;
    for (auto& store : stores)
        threads.emplace_back([this, &store] { store = &RuleManager::sharedManager(files_); });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(std::set<RuleManager*>(stores.begin(), stores.end()).size(), 1U);
    EXPECT_EQ(stores[0]->totalRules(true), 7U);
}

TEST_F(Store, GroupsSortWithoutCase)
{
    RuleManager store;
    for (const auto* name : {"b", "\u00C4", "a", "B", "\u00E4", "Stra\u00DFe", "STRASSD"})
        store.addPolicyRule(policyRule(name, name, "r"));
    EXPECT_EQ(pathsOf(store), "a B b STRASSD Stra\u00DFe \u00C4 \u00E4");
    EXPECT_EQ(store.sortedKeys()[1], "B:B:(null):");
    EXPECT_FALSE(store.deletePolicyRule(policyRule("a", "b", "r")));
    EXPECT_TRUE(store.deletePolicyRule(policyRule("a", "a", "r")));
    EXPECT_FALSE(store.deletePolicyRule(policyRule("a", "a", "r")));
    EXPECT_EQ(store.sortedKeys().size(), 7U);
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
                const auto& [first, second] = key->ascending ? std::tie(a, b) : std::tie(b, a);
                return sortedBy(key->key, *first) < sortedBy(key->key, *second);
            });
    }
    static std::string sortedBy(SortDescriptor::Key key, const Rule& rule)
    {
        const auto* policy = dynamic_cast<const PolicyRule*>(&rule);
        const auto padded = [](std::uint64_t number) { return std::to_string(1'000'000 + number); };
        const auto class_ = static_cast<std::uint64_t>(rule.getPolicyClass());
        const auto type = static_cast<std::uint64_t>(rule.policyType());
        const auto sequence = static_cast<std::uint64_t>(rule.sequence());
        const Texts texts = {padded(class_), padded(type), std::string(rule.path()),
            std::string(rule.processName()), rule.getProcessShortName(), std::string(rule.tag()),
            std::string(policy ? policy->constraint() : ""), padded(rule.operations()),
            padded(rule.flags()), padded(policy ? policy->created() : 0), padded(sequence),
            padded(rule.system() ? 1 : 0), padded(rule.getRuleState())};
        return texts[static_cast<std::size_t>(key)];
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
            = choices.ruleLines(choices.below(9)) + (choices.below(9) == 0 ? "\xFF" : "");
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
    test::Choices choices;
    for (int round = 0; round < 300; ++round) {
        RuleManager store;
        for (auto left = choices.below(40); left > 0; --left) {
            std::string path = choices.of(std::array{"", "", "any", "/"});
            for (auto letters = choices.below(5); letters > 0; --letters)
                path += choices.of(std::string_view("ab/"));
            // One application, whatever the constraint.
            auto rule = policyRule("any via tool", path, choices.of(std::array{"r", "rw", "x"}),
                static_cast<int>(choices.below(2)));
            rule.setPolicyClass(static_cast<int>(choices.below(4)) / 3);
            rule.setConstraint(choices.of(std::array{"", "", "TEAM"}));
            store.addPolicyRule(rule);
        }
        const auto& rules = store.policyRules();
        const auto covering = coveringRules(rules);
        for (std::size_t i = 0; i < rules.size(); ++i) {
            const auto& rule = *rules[i];
            const PolicyRule* first = nullptr;
            for (const auto* other : rules) {
                const bool everyPath = other->path().empty() || other->path() == "any";
                const auto shared = other->operations() & rule.operations();
                if (!first && other != &rule && other->policyClass() == rule.policyClass()
                    && other->constraint() == rule.constraint() && shared == rule.operations()
                    && (everyPath
                        || (other->policyType() == 0 && rule.path().starts_with(other->path()))))
                    first = other;
            }
            ASSERT_EQ(covering[i], first);
            ASSERT_EQ(store.ruleCovering(rule), first);
            ASSERT_EQ(store.isRedundant(rule), first != nullptr);
            ASSERT_TRUE(store.isRedundant(PolicyRule(rule)) || rule.policyType() != 0); // a copy
        }
    }
    EXPECT_TRUE(isBitwiseInclusive(0x0F, 0xFF00000F));
    EXPECT_FALSE(isBitwiseInclusive(0x7F, 0x80));
}

}
}
