#pragma once

#include "foundation/arena.h"
#include "rules/application_identity.h"
#include "rules/filter_option.h"
#include "rules/redundancy.h"
#include "rules/rule_vocabulary.h"
#include "rules/rules_file_reader.h"
#include "rules/rules_scanner.h"
#include "rules/store/derived_lists.h"
#include "rules/store/rule_groups.h"
#include "rules/store/rule_loading.h"
#include "settings/directories.h"
#include "settings/preferences.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vossel {

// Whose rules a store keeps, and where their files lie.
struct RuleFiles {
    Directories directories = Directories();
    std::string user = {}; // login name
    std::string failsafe = directories.failsafeRules(); // the file whose rules are merged
};

// The rule store. It owns a user's rules, the options and what a table shows of both, reads rules
// files and writes the user's own back; rules are handed out to be looked at until the next change.
// It must not decide what a rule means for an access, and knows neither driver nor prompts. Without
// a lock: every operation of one store comes from one thread at a time; only sharedManager may be
// called first from any thread.
class RuleManager {
public:
    // The store of this process's user; `files` counts at the first call.
    static RuleManager& sharedManager(const RuleFiles& files);
    static std::unique_ptr<RuleManager> initWithCurrentUserConfiguration(RuleFiles files);
    static std::unique_ptr<RuleManager> initWithContentsOfFile(
        const std::string& path, bool shouldLabelAsSystemRules, RuleFiles files);
    explicit RuleManager(RuleFiles files = {});
    RuleManager(const RuleManager&) = delete;
    RuleManager& operator=(const RuleManager&) = delete;

    // Reads everything anew; filter, order and numbering go on.
    void reloadCurrentUserConfiguration();
    // False, with lastErrorMessage, when the file could not be read; missing, empty and undecodable
    // files count as empty. The lists show the rules after the next change or rebuild.
    bool addFileContents(const std::string& path, bool shouldLabelAsSystemRules);
    // The file whose reading merges, from now on.
    void setFailsafeFile(std::string path) { files_.failsafe = std::move(path); }
    // How the last reading of all, and of one file, went; empty before the first.
    [[nodiscard]] std::optional<ReadOutcome> lastReadOutcome() const { return lastRead_; }
    [[nodiscard]] std::optional<ReadOutcome> readOutcome(const std::string& path) const;

    // Write every rule that is not of a system file, whatever the filter; or the given ones. False
    // when the file could not be opened; a failed write is in lastErrorMessage only.
    bool writeToFile(const std::string& path);
    bool writeToFile(const std::string& path, const std::vector<const Rule*>& policiesToWrite);
    bool writeToCurrentUserConfiguration();
    [[nodiscard]] const std::optional<std::string>& lastErrorMessage() const
    {
        return lastErrorMessage_;
    }
    void setLastErrorMessage(std::optional<std::string> message)
    {
        lastErrorMessage_ = std::move(message);
    }

    // Without a test for equal rules; always true.
    bool addPolicyRule(const PolicyRule& rule);
    bool addWatchRule(const WatchRule& rule);
    // The first equal one; false where there is none. The rule may be the store's own.
    bool deletePolicyRule(const PolicyRule& rule);
    bool deleteWatchRule(const WatchRule& rule);

    // Whether another rule of its application makes the rule superfluous: same class, same
    // constraint, at least its operations, and every path or a prefix of its path. The rule itself,
    // where it is the store's own, does not count; an equal copy does.
    [[nodiscard]] bool isRedundant(const PolicyRule& rule);
    // The first such rule; null where there is none.
    [[nodiscard]] const PolicyRule* ruleCovering(const PolicyRule& rule);
    static constexpr auto& isBitwiseInclusive = vossel::isBitwiseInclusive;

    void loadOptions();
    // Appends one option as the preferences last read have it.
    void loadOptionAsBool(std::string_view key);
    void loadOptionAsInteger(std::string_view key);
    // The first one of that name; 0 where there is none.
    [[nodiscard]] std::uint32_t getOption(std::string_view name) const;
    [[nodiscard]] const std::vector<FilterOption>& filterOptions() const { return filterOptions_; }

    // The rule table.
    void rebuildRulesCache() { lists_.invalidate(); }
    void applyFilterWithString(std::string_view text) { lists_.setFilter(text); }
    void sortIndexUsingDescriptors(std::vector<SortDescriptor> descriptors);
    [[nodiscard]] std::size_t totalRules(bool includeSystemRules) const;
    // `index` is below totalRules of the same kind.
    [[nodiscard]] const Rule& ruleAtIndex(std::size_t index, bool includeSystemRules) const;
    [[nodiscard]] const WatchRules& watchRules() const { return watchRules_; }
    [[nodiscard]] const std::vector<const PolicyRule*>& policyRules() const
    {
        return lists_.policyRules();
    }
    [[nodiscard]] std::vector<std::string> sortedKeys() const;

    // Beside the headers of these, under the store's name.
    static constexpr auto& policyClassForString = vossel::policyClassForString;
    static constexpr auto& policyTypeForString = vossel::policyTypeForString;
    static constexpr auto& operationsForString = vossel::operationsForString;
    static constexpr auto& flagsForString = vossel::flagsForString;
    static constexpr auto& operationsForInteger = vossel::operationsForInteger;
    static constexpr auto& operationsForRule = vossel::operationsForRule;
    static constexpr auto& flagsForInteger = vossel::flagsForInteger;
    static constexpr auto& flagsForPolicyRule = vossel::flagsForPolicyRule;
    static constexpr auto& flagsForWatchRule = vossel::flagsForWatchRule;
    static constexpr auto& applicationNameForRule = vossel::applicationNameForRule;
    static constexpr auto& applicationGroupIdentityForRule
        = vossel::applicationGroupIdentityForRule;
    static constexpr auto& applicationPathForRule = vossel::applicationPathForRule;
    static constexpr auto& applicationParentPathForRule = vossel::applicationParentPathForRule;
    static constexpr auto& applicationParentNameForRule = vossel::applicationParentNameForRule;
    static constexpr auto& applicationBundlePathForPath = vossel::applicationBundlePathForPath;
    static constexpr auto& applicationBundlePathForRule = vossel::applicationBundlePathForRule;
    static constexpr auto& scanString = vossel::scanString;

private:
    void loadCurrentUserConfiguration();
    bool read(const std::string& path, bool shouldLabelAsSystemRules, RuleLoading& loading);
    [[nodiscard]] RulesKind kindOf(const std::string& path, bool shouldLabelAsSystemRules) const;

    template <class RuleType>
    [[nodiscard]] RuleType& keptCopyOf(const RuleType& rule);

    RuleFiles files_;
    Arena arena_; // all rules, also deleted ones until everything is read anew
    RuleGroups policyRulesByApplication_;
    WatchRules watchRules_;
    std::vector<FilterOption> filterOptions_;
    DerivedLists lists_;
    std::optional<Preferences> settings_; // as last read
    std::int64_t ruleSequence_ = 0;
    std::optional<ReadOutcome> lastRead_;
    std::map<std::string, ReadOutcome> outcomes_;
    std::optional<std::string> lastErrorMessage_;
};

}
