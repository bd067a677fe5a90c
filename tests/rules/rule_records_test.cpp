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

enum class Matters { Never, InBoth, InPolicies };

TEST(RuleRecords, EqualityLooksAtWhatARuleGoverns)
{
    const struct {
        const char* field;
        Matters matters;
        void (*change)(PolicyRule& policy, Rule& watch);
    } rows[] = {
        {"class", Matters::InPolicies, [](PolicyRule& p, Rule&) { p.setPolicyClass(1); }},
        {"constraint", Matters::InPolicies, [](PolicyRule& p, Rule&) { p.setConstraint("t"); }},
        {"type", Matters::InBoth, [](PolicyRule&, Rule& rule) { rule.setPolicyType(1); }},
        {"path", Matters::InBoth, [](PolicyRule&, Rule& rule) { rule.setPath("/d/A"); }},
        {"process", Matters::InBoth, [](PolicyRule&, Rule& rule) { rule.setProcessName("Cat"); }},
        {"operations", Matters::InBoth, [](PolicyRule&, Rule& r) { r.setOperations(1U << 20U); }},
        {"flags", Matters::InBoth, [](PolicyRule&, Rule& rule) { rule.setFlags(4); }},
        {"tag", Matters::Never, [](PolicyRule&, Rule& rule) { rule.setTag("t"); }},
        {"created", Matters::Never, [](PolicyRule& policy, Rule&) { policy.setCreated(1); }},
        {"sequence", Matters::Never, [](PolicyRule&, Rule& rule) { rule.setSequence(1); }},
        {"system", Matters::Never, [](PolicyRule&, Rule& rule) { rule.setSystem(true); }},
    };
    PolicyRule policy;
    WatchRule watch;
    policy.setPath("/d/a");
    for (const auto& [field, matters, change] : rows) {
        SCOPED_TRACE(field);
        PolicyRule changed = policy;
        WatchRule changedWatch;
        change(changed, changed);
        change(changed, changedWatch);
        EXPECT_EQ(policy.isEqualToPolicyRule(changed), matters == Matters::Never);
        EXPECT_EQ(watch.isEqualToWatchRule(changedWatch), matters != Matters::InBoth);
        // Of its folder the rule is the one for the folder, unless more than the path differs.
        changed.setPath("/d/");
        EXPECT_EQ(changed.isEqualToPolicyRuleWithPrefix(policy),
            matters == Matters::Never || field == std::string_view("path"));
    }
}

TEST(RuleRecords, TheFolderOfAPath)
{
    const std::pair<const char*, const char*> rows[]
        = {{"/d/a", "/d/"}, {"/d/e/", "/d/"}, {"/a", "//"}, {"/", "//"}, {"a", "/"}, {"", "/"},
            {"/d/e//", "/d/"}, {"/d//e", "/d/"}, {":NVRAM/a", ":NVRAM/"}};
    for (const auto& [path, folder] : rows)
        EXPECT_EQ(parentDirectoryForm(path), folder) << path;
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
}

TEST(RuleText, ACopyOwnsWhatAnAliasShares)
{
    const std::string content("a\0b", 3);
    RuleText copy;
    RuleText moved;
    {
        Arena arena;
        Arena other;
        const RuleText first(other, content);
        const RuleText large(arena, std::string(5'000'000, 'x'));
        arena.absorb(std::move(other));
        const RuleText second(other, content);
        EXPECT_EQ(first.alias().identity(), first.identity());
        EXPECT_TRUE(first == second && first.identity() != second.identity());
        EXPECT_FALSE(first == large);
        copy = first;
        RuleText owned = copy.alias();
        EXPECT_NE(owned.identity(), copy.identity());
        moved = std::move(owned);
        EXPECT_EQ(large.view(), std::string(5'000'000, 'x'));
    }
    EXPECT_EQ(copy.view(), content);
    EXPECT_EQ(moved.view(), content);
}

TEST(TextHash, EveryByteAndTheLengthCount)
{
    std::set<std::uint64_t> hashes;
    for (std::size_t length = 0; length < 70; ++length)
        for (std::size_t at = 0; at <= length; ++at) {
            std::string text(length, '\0');
            if (at < length)
                text[at] = 'a';
            EXPECT_TRUE(hashes.insert(textHash(text)).second) << length << ' ' << at;
        }
    EXPECT_NE(mixedHash(1, 2), mixedHash(2, 1));
}

}
}
