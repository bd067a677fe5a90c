#include "rules/store/rule_manager.h"

#include "rules/rules_file_writer.h"
#include "rules/store/rule_options.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vossel {

namespace {

// The value of a preference that keeps a system rules file from being read.
constexpr std::uint32_t fileIsOff = 2;
constexpr std::int64_t paranoidIsOn = 1;

}

RuleManager& RuleManager::sharedManager(const RuleFiles& files)
{
    static const auto only = initWithCurrentUserConfiguration(files);
    return *only;
}

std::unique_ptr<RuleManager> RuleManager::initWithCurrentUserConfiguration(RuleFiles files)
{
    auto store = std::make_unique<RuleManager>(std::move(files));
    store->loadCurrentUserConfiguration();
    return store;
}

std::unique_ptr<RuleManager> RuleManager::initWithContentsOfFile(
    const std::string& path, bool shouldLabelAsSystemRules, RuleFiles files)
{
    auto store = std::make_unique<RuleManager>(std::move(files));
    store->addFileContents(path, shouldLabelAsSystemRules);
    store->loadOptions();
    store->rebuildRulesCache();
    return store;
}

RuleManager::RuleManager(RuleFiles files)
    : files_(std::move(files))
    , lists_(policyRulesByApplication_, watchRules_)
{
}

void RuleManager::reloadCurrentUserConfiguration()
{
    lists_.invalidate(); // they hold what goes now
    policyRulesByApplication_.clear();
    watchRules_.clear();
    filterOptions_.clear();
    arena_ = {};
    loadCurrentUserConfiguration();
}

void RuleManager::loadCurrentUserConfiguration()
{
    const auto& directories = files_.directories;
    RuleLoading loading(arena_, policyRulesByApplication_, watchRules_, ruleSequence_);
    // What cannot be read is left out; its message stays until the next file is read.
    read(directories.userRules(files_.user), false, loading);
    loadOptions();
    settings_ = Preferences::load(directories);
    const bool paranoid = settings_ && settings_->integer(rule_option::paranoid) == paranoidIsOn;
    read(paranoid ? directories.paranoidSystemRules() : directories.systemRules(), true, loading);

    const std::array<std::pair<std::string_view, std::string>, 4> optional = {{
        {rule_option::user, directories.userSystemRules()},
        {rule_option::webcam, directories.webcamSystemRules()},
        {rule_option::startup, directories.startupSystemRules()},
        {rule_option::exec, directories.execSystemRules()},
    }};
    for (const auto& [option, path] : optional)
        if (getOption(option) != fileIsOff)
            read(path, true, loading);
    rebuildRulesCache();
}

bool RuleManager::addFileContents(const std::string& path, bool shouldLabelAsSystemRules)
{
    lists_.keepForNow();
    RuleLoading loading(arena_, policyRulesByApplication_, watchRules_, ruleSequence_);
    return read(path, shouldLabelAsSystemRules, loading);
}

bool RuleManager::read(const std::string& path, bool shouldLabelAsSystemRules, RuleLoading& loading)
{
    lastErrorMessage_.reset();
    const auto kind = kindOf(path, shouldLabelAsSystemRules);
    const auto reading = readRulesFile(
        path, [&loading, &kind](std::string_view lines) { loading.read(lines, kind); });
    lastRead_ = outcomes_[path] = reading.outcome;
    lastErrorMessage_ = reading.error;
    if (reading.isContent())
        loading.commit(path == files_.failsafe, filterOptions_);
    else
        loading.discard();
    return !reading.error;
}

RulesKind RuleManager::kindOf(const std::string& path, bool shouldLabelAsSystemRules) const
{
    const auto& directories = files_.directories;
    return {shouldLabelAsSystemRules,
        path.starts_with(directories.systemRules())
            || path.starts_with(directories.paranoidSystemRules())};
}

std::optional<ReadOutcome> RuleManager::readOutcome(const std::string& path) const
{
    const auto known = outcomes_.find(path);
    return known == outcomes_.end() ? std::nullopt : std::optional(known->second);
}

bool RuleManager::writeToFile(const std::string& path)
{
    lastErrorMessage_.reset();
    RulesFileWriter file(path);
    const bool opened = file.open();
    if (opened) {
        for (const auto& rule : watchRules_)
            if (!rule->system())
                file.write(*rule);
        const auto rules = policyRulesByApplication_.rules();
        for (std::size_t i = 0; i < rules.size(); ++i) {
            expectAfter(rules, i);
            if (!rules[i]->system())
                file.write(*rules[i]);
        }
        file.close();
    }
    lastErrorMessage_ = file.error();
    return opened;
}

bool RuleManager::writeToFile(
    const std::string& path, const std::vector<const Rule*>& policiesToWrite)
{
    lastErrorMessage_.reset();
    RulesFileWriter file(path);
    const bool opened = file.open();
    if (opened) {
        for (const auto* rule : policiesToWrite) {
            if (const auto* watch = dynamic_cast<const WatchRule*>(rule))
                file.write(*watch);
            else if (const auto* policy = dynamic_cast<const PolicyRule*>(rule))
                file.write(*policy);
        }
        file.close();
    }
    lastErrorMessage_ = file.error();
    return opened;
}

bool RuleManager::writeToCurrentUserConfiguration()
{
    // The writer has set the file's mode.
    return writeToFile(files_.directories.userRules(files_.user));
}

template <class RuleType>
RuleType& RuleManager::keptCopyOf(const RuleType& rule)
{
    auto& copy = arena_.make<RuleType>(rule);
    copy.moveTextsTo(arena_);
    return copy;
}

bool RuleManager::addPolicyRule(const PolicyRule& rule)
{
    auto& group = policyRulesByApplication_.groupFor(applicationGroupIdentityForRule(rule));
    group.rules.push_back(&keptCopyOf(rule));
    group.mayHoldSystemRules |= rule.system();
    lists_.invalidateFor(*group.rules.back(), 1);
    return true;
}

bool RuleManager::addWatchRule(const WatchRule& rule)
{
    watchRules_.push_back(&keptCopyOf(rule));
    lists_.invalidateFor(*watchRules_.back(), 1);
    return true;
}

bool RuleManager::deletePolicyRule(const PolicyRule& rule)
{
    auto* group = policyRulesByApplication_.find(applicationGroupIdentityForRule(rule));
    if (!group)
        return false;
    const auto found = std::find_if(group->rules.begin(), group->rules.end(),
        [&rule](const auto& other) { return rule.isEqualToPolicyRule(*other); });
    if (found == group->rules.end())
        return false;
    lists_.invalidateFor(**found, -1);
    group->rules.erase(found);
    return true;
}

bool RuleManager::deleteWatchRule(const WatchRule& rule)
{
    const auto found = std::find_if(watchRules_.begin(), watchRules_.end(),
        [&rule](const auto& other) { return rule.isEqualToWatchRule(*other); });
    if (found == watchRules_.end())
        return false;
    lists_.invalidateFor(**found, -1);
    watchRules_.erase(found);
    return true;
}

bool RuleManager::isRedundant(const PolicyRule& rule)
{
    return ruleCovering(rule) != nullptr;
}

const PolicyRule* RuleManager::ruleCovering(const PolicyRule& rule)
{
    const auto* group = policyRulesByApplication_.find(applicationGroupIdentityForRule(rule));
    if (!group)
        return nullptr;
    const auto found = std::find_if(group->rules.begin(), group->rules.end(),
        [&rule](const auto& other) { return other != &rule && covers(*other, rule); });
    return found == group->rules.end() ? nullptr : *found;
}

void RuleManager::loadOptions()
{
    settings_ = Preferences::load(files_.directories);
    if (!settings_)
        return;
    for (const auto& [name, kind] : ruleOptions) {
        if (kind == RuleOption::Kind::Boolean)
            loadOptionAsBool(name);
        else
            loadOptionAsInteger(name);
    }
}

void RuleManager::loadOptionAsBool(std::string_view key)
{
    const bool value = settings_ && settings_->boolean(key);
    filterOptions_.push_back({value ? 1U : 0U, std::string(key)});
}

void RuleManager::loadOptionAsInteger(std::string_view key)
{
    const auto value = settings_ ? settings_->integer(key) : 0;
    filterOptions_.push_back({static_cast<std::uint32_t>(value), std::string(key)});
}

std::uint32_t RuleManager::getOption(std::string_view name) const
{
    const auto option = std::find_if(filterOptions_.begin(), filterOptions_.end(),
        [name](const FilterOption& other) { return other.name == name; });
    return option == filterOptions_.end() ? 0 : option->value;
}

void RuleManager::sortIndexUsingDescriptors(std::vector<SortDescriptor> descriptors)
{
    lists_.setOrder(std::move(descriptors));
}

std::size_t RuleManager::totalRules(bool includeSystemRules) const
{
    return lists_.count(includeSystemRules);
}

const Rule& RuleManager::ruleAtIndex(std::size_t index, bool includeSystemRules) const
{
    return *(includeSystemRules ? lists_.compositeIndex() : lists_.compositeIndexUserOnly())[index];
}

std::vector<std::string> RuleManager::sortedKeys() const
{
    std::vector<std::string> keys;
    for (const auto* group : lists_.groups())
        keys.push_back(group->identity);
    return keys;
}

}
