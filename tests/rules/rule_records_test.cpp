#include "foundation/text_hash.h"
#include "rules/policy_rule.h"
#include "rules/rule_vocabulary.h"
#include "rules/watch_rule.h"

#include <gtest/gtest.h>

#include <set>

namespace vossel {
namespace {

TEST(RuleVocabulary, WordsAndNumbers)
{
    for (const auto* word : {"allow", "deny"})
        EXPECT_EQ(PolicyRule::policyClassDescription(policyClassForString(word)), word);
    for (const auto* word : {"prefix", "path", "suffix"})
        EXPECT_EQ(PolicyRule::policyTypeDescription(policyTypeForString(word)), word);
    for (const auto* word : {"Allow", "watch", "", "allow ", "err"})
        EXPECT_EQ(policyClassForString(word), 4) << word;
    for (const auto* word : {"Prefix", "", "pat", "any"})
        EXPECT_EQ(policyTypeForString(word), 4) << word;
    EXPECT_EQ(PolicyRule::policyClassDescription(2), "watch");
    for (const int number : {-1, 3, 4, 5}) {
        EXPECT_EQ(PolicyRule::policyClassDescription(number), "err");
        EXPECT_EQ(PolicyRule::policyTypeDescription(number), "err");
    }

    const std::pair<const char*, std::uint32_t> operations[]
        = {{"", 0}, {"read", 1}, {"screw", 7}, {"xr", 17}, {"RWCMX", 0}, {"xmcwrr-", 31}};
    for (const auto& [text, bits] : operations)
        EXPECT_EQ(operationsForString(text), bits) << text;
    const std::pair<std::uint32_t, const char*> letters[]
        = {{0, ""}, {7, "rwc"}, {8, "m"}, {31, "rwcmx"}, {32, ""}, {0xFFFFFFFF, "rwcmx"}};
    for (const auto& [bits, text] : letters)
        EXPECT_EQ(PolicyRule::operationsDescription(bits), text);

    EXPECT_EQ(flagsForString("sus"), 3U);
    for (std::uint32_t flags = 0; flags < 8; ++flags) {
        PolicyRule policy;
        WatchRule watch;
        policy.setFlags(flags);
        watch.setFlags(flags);
        EXPECT_EQ(flagsForPolicyRule(policy), flags & 1 ? "u" : "");
        EXPECT_EQ(PolicyRule::flagsDescription(flags), flags & 1 ? "u" : "");
        EXPECT_EQ(flagsForWatchRule(watch), flags & 2 ? "s" : "");
        EXPECT_EQ(flagsForInteger(flags), flagsForPolicyRule(policy) + flagsForWatchRule(watch));
    }
}

TEST(RuleRecords, EqualityLooksAtWhatARuleGoverns)
{
    PolicyRule original;
    original.setPath("/d/a");
    original.setProcessName("/bin/cat");
    original.setConstraint("TEAM");
    const struct {
        const char* field;
        void (*change)(PolicyRule& rule);
        bool equal = false;
    } rows[] = {
        {"class", [](PolicyRule& rule) { rule.setPolicyClass(1); }},
        {"type", [](PolicyRule& rule) { rule.setPolicyType(1); }},
        {"path", [](PolicyRule& rule) { rule.setPath("/d/A"); }},
        {"process", [](PolicyRule& rule) { rule.setProcessName("/bin/Cat"); }},
        {"operations", [](PolicyRule& rule) { rule.setOperations(1U << 20U); }},
        {"flags", [](PolicyRule& rule) { rule.setFlags(4); }},
        {"constraint", [](PolicyRule& rule) { rule.setConstraint("team"); }},
        {"tag", [](PolicyRule& rule) { rule.setTag("t"); }, true},
        {"created", [](PolicyRule& rule) { rule.setCreated(1); }, true},
        {"sequence", [](PolicyRule& rule) { rule.setSequence(1); }, true},
        {"system", [](PolicyRule& rule) { rule.setSystem(true); }, true},
    };
    for (const auto& [field, change, equal] : rows) {
        SCOPED_TRACE(field);
        PolicyRule changed = original;
        change(changed);
        EXPECT_EQ(original.isEqualToPolicyRule(changed), equal);
        EXPECT_EQ(changed.isEqualToPolicyRule(original), equal);
        // Of its folder the rule is the one for the folder, unless more than the path differs.
        PolicyRule folder = changed;
        folder.setPath("/d/");
        EXPECT_EQ(folder.isEqualToPolicyRuleWithPrefix(original),
            equal || field == std::string_view("path"));
    }
}

TEST(RuleRecords, WatchRulesAreEqualInLess)
{
    const WatchRule original;
    void (*const changes[])(WatchRule&) = {[](WatchRule& rule) { rule.setPolicyType(1); },
        [](WatchRule& rule) { rule.setPath("/d"); }, [](WatchRule& rule) { rule.setFlags(4); },
        [](WatchRule& rule) { rule.setProcessName("p"); },
        [](WatchRule& rule) { rule.setOperations(64); }};
    for (const auto change : changes) {
        WatchRule changed;
        changed.setTag("t");
        changed.setSequence(1);
        changed.setSystem(true);
        EXPECT_TRUE(original.isEqualToWatchRule(changed));
        change(changed);
        EXPECT_FALSE(original.isEqualToWatchRule(changed));
    }
}

TEST(RuleRecords, TheFolderOfAPath)
{
    const std::pair<const char*, const char*> rows[]
        = {{"/d/a", "/d/"}, {"/d/e/", "/d/"}, {"/a", "//"}, {"/", "//"}, {"a", "/"}, {"", "/"},
            {"/d/e//", "/d/"}, {"/d//e", "/d/"}, {":NVRAM/a", ":NVRAM/"}};
    for (const auto& [path, folder] : rows) {
        EXPECT_EQ(parentDirectoryForm(path), folder) << path;
        PolicyRule rule;
        PolicyRule covering;
        rule.setPath(path);
        covering.setPath(folder);
        EXPECT_TRUE(covering.isEqualToPolicyRuleWithPrefix(rule)) << path;
        EXPECT_EQ(rule.isEqualToPolicyRuleWithPrefix(rule), path == std::string_view(folder));
    }
}

TEST(RuleRecords, ARuleIsNewForADay)
{
    constexpr std::int64_t now = 1'500'000'000;
    const std::pair<std::uint64_t, std::uint32_t> rows[]
        = {{0, 0}, {now, 2}, {now - 86'399, 2}, {now - 86'400, 0}, {now + 1, 0}, {UINT64_MAX, 0}};
    for (const auto& [created, state] : rows) {
        PolicyRule rule(now);
        rule.setCreated(created);
        EXPECT_EQ(rule.getRuleState(), state) << created;
        rule.setSystem(true);
        EXPECT_EQ(rule.getRuleState(), 1U) << created;
    }
    WatchRule watch;
    EXPECT_EQ(watch.getRuleState(), 0U);
    watch.setSystem(true);
    watch.setProcessName("/bin/cat");
    EXPECT_EQ(watch.getRuleState(), 1U);
    EXPECT_EQ(watch.getPolicyClass(), 2);
    EXPECT_EQ(watch.getProcessShortName(), "");
}

TEST(RuleText, ACopyOwnsWhatAnAliasShares)
{
    const std::string content("a\0b", 3);
    const std::string large(5'000'000, 'x'); // more than a block of the arena
    RuleText copy;
    RuleText moved;
    {
        Arena arena;
        Arena other;
        const RuleText first(other, content);
        const RuleText big(arena, large);
        arena.absorb(std::move(other));
        const RuleText second(other, content);
        EXPECT_EQ(first.alias().identity(), first.identity());
        EXPECT_TRUE(first == second && first.identity() != second.identity());
        EXPECT_FALSE(first == RuleText("a"));
        EXPECT_EQ(big.view(), large);
        copy = first;
        RuleText owned = copy.alias();
        EXPECT_NE(owned.identity(), copy.identity());
        moved = std::move(owned);

        PolicyRule rule;
        rule.setPath(content);
        rule.setConstraint(content);
        auto& kept = arena.make<PolicyRule>(rule);
        kept.moveTextsTo(arena);
        EXPECT_TRUE(kept.isEqualToPolicyRule(rule));
    }
    EXPECT_EQ(copy.view(), content);
    EXPECT_EQ(moved.view(), content);
    EXPECT_EQ(RuleText("").identity(), RuleText().identity());
}

TEST(TextHash, EveryByteAndTheLengthCount)
{
    std::set<std::uint64_t> hashes;
    std::size_t texts = 0;
    for (std::size_t length = 0; length < 70; ++length, ++texts) {
        hashes.insert(textHash(std::string(length, '\0')));
        for (std::size_t at = 0; at < length; ++at, ++texts) {
            std::string text(length, '\0');
            text[at] = 'a';
            hashes.insert(textHash(text));
            EXPECT_EQ(textHash(text), textHash(std::string(text)));
        }
    }
    EXPECT_EQ(hashes.size(), texts);
    EXPECT_NE(mixedHash(1, 2), mixedHash(2, 1));
}

}
}
