#include "foundation/files.h"
#include "require.h"
#include "rules/literal_rules.h"
#include "support/temporary_directory.h"

#include <cstdlib>
#include <filesystem>

// Any bytes as rules files: the first byte says what the file is, and what stands before a first
// record separator is in the user's file, which is read before. The store reads them as the literal
// rules do. Whatever can be written reads back the same.

using namespace vossel;
using test::require;

namespace {

// In memory where there is such a folder: the writer waits for the disk.
struct Files {
    const int chosen = ::setenv("TMPDIR", isWritable("/dev/shm") ? "/dev/shm" : "/tmp", 0);
    const test::TemporaryDirectory root;
    const Directories at{root.path()};
    const std::string copy = root / "copy";

    Files()
    {
        std::filesystem::create_directories(at.sharedData());
        std::filesystem::create_directories(at.support());
    }
};

std::vector<const Rule*> rulesOf(RuleManager& store)
{
    store.rebuildRulesCache();
    std::vector<const Rule*> rules;
    for (std::size_t i = 0; i < store.totalRules(true); ++i)
        rules.push_back(&store.ruleAtIndex(i, true));
    return rules;
}

bool isWritten(const Rule& rule)
{
    const auto* policy = dynamic_cast<const PolicyRule*>(&rule);
    if (rule.operations() == 0)
        return false;
    const auto constraint = policy ? policy->constraint() : std::string_view();
    for (const auto text : {rule.path(), rule.processName(), rule.tag(), constraint})
        if (text.find('"') != std::string_view::npos || test::literalLines(text).size() > 1)
            return false;
    return true;
}

// As it reads back: as the user's, without flags, and once.
template <class RuleType, class Equal>
void expectBack(std::vector<RuleType>& expected, const RuleType& rule, const Equal& equal)
{
    RuleType copy = rule;
    copy.setFlags(0);
    copy.setSystem(false);
    copy.setSequence(0);
    if (std::none_of(expected.begin(), expected.end(),
            [&](const RuleType& other) { return (other.*equal)(copy); }))
        expected.push_back(std::move(copy));
}

template <class RuleType>
std::string describedInOne(const RuleType& rule)
{
    RuleType copy = rule;
    copy.setSequence(0);
    return test::described(copy);
}

void roundTrip(RuleManager& store, const std::vector<const Rule*>& rules, const Files& files)
{
    require(store.writeToFile(files.copy, rules) && !store.lastErrorMessage(), "not written");
    RuleManager copy;
    require(copy.addFileContents(files.copy, false), "not read back");
    copy.rebuildRulesCache();

    std::vector<WatchRule> watchRules;
    std::vector<PolicyRule> policyRules;
    for (const auto* rule : rules) {
        if (const auto* watch = dynamic_cast<const WatchRule*>(rule))
            expectBack(watchRules, *watch, &WatchRule::isEqualToWatchRule);
        else if (const auto* policy = dynamic_cast<const PolicyRule*>(rule))
            expectBack(policyRules, *policy, &PolicyRule::isEqualToPolicyRule);
    }
    require(copy.watchRules().size() == watchRules.size()
            && copy.policyRules().size() == policyRules.size(),
        "more or fewer rules read back");
    for (std::size_t i = 0; i < watchRules.size(); ++i)
        require(describedInOne(*copy.watchRules()[i]) == test::described(watchRules[i]),
            "another watch rule read back");
    for (std::size_t i = 0; i < policyRules.size(); ++i)
        require(describedInOne(*copy.policyRules()[i]) == test::described(policyRules[i]),
            "another policy rule read back");
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    static const Files files;
    std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    require(scanString(bytes) == test::literalFields(bytes), "cut into other fields");
    std::vector<std::string> lines;
    RuleLines rest(bytes);
    for (std::string_view line; rest.next(line);)
        lines.emplace_back(line);
    require(lines == test::literalLines(bytes), "cut into other lines");

    const auto user = files.at.userRules("fuzz");
    const std::array kinds
        = {user, files.at.failsafeRules(), files.at.execSystemRules(), files.at.systemRules()};
    const auto kind = data[0] % kinds.size();
    RuleManager store(RuleFiles{files.at, "fuzz"});
    test::LiteralStore literal;
    const auto separator = bytes.find('\x1E');
    const auto read = [&](const std::string& path, std::string_view content, RulesKind as) {
        require(static_cast<bool>(writeFile(path, content)), "no room for the file");
        require(store.addFileContents(path, as.system), "not read");
        literal.read(content, as, path == files.at.failsafeRules());
    };
    if (separator != std::string_view::npos) {
        read(user, bytes.substr(0, separator), {});
        bytes.remove_prefix(separator + 1);
    }
    read(kinds[kind], bytes, {kind >= 2, kind == 3});

    auto rules = rulesOf(store);
    require(test::describedAll(rules) == test::describedAll(literal.all()), "other rules");
    require(store.filterOptions() == literal.options, "other options");
    std::erase_if(rules, [](const Rule* rule) { return !isWritten(*rule); });
    roundTrip(store, rules, files);
    return 0;
}
