#pragma once

#include "foundation/files.h"
#include "rules/literal_rules.h"
#include "support/temporary_directory.h"

#include <cstdlib>
#include <filesystem>
#include <set>

namespace vossel::test {

// Reads any bytes as rules files, as the store does and as the literal rules do, and writes what
// can be written. Owns the files, in memory where there is such a folder: the writer waits for the
// disk.
class ReadingCheck {
public:
    enum class Kind { User, Failsafe, ExecSystem, MainSystem };

    ReadingCheck()
    {
        std::filesystem::create_directories(at_.sharedData());
        std::filesystem::create_directories(at_.support());
    }

    // What is wrong first; empty for nothing. The user's file is read before the other one.
    std::string complaint(std::string_view userFile, std::string_view bytes, Kind kind) const
    {
        if (scanString(bytes) != literalFields(bytes))
            return "cut into other fields";
        std::vector<std::string> lines;
        RuleLines rest(bytes);
        for (std::string_view line; rest.next(line);)
            lines.emplace_back(line);
        if (lines != literalLines(bytes))
            return "cut into other lines";

        const std::array paths
            = {at_.userRules("ann"), at_.failsafeRules(), at_.execSystemRules(), at_.systemRules()};
        RuleManager store(RuleFiles{at_, "ann"});
        LiteralStore literal;
        const auto read = [&](const std::string& path, std::string_view content, RulesKind as) {
            literal.read(content, as, path == at_.failsafeRules());
            return writeFile(path, content) && store.addFileContents(path, as.system);
        };
        if (!read(paths[0], userFile, {})
            || !read(paths[static_cast<std::size_t>(kind)], bytes,
                {kind >= Kind::ExecSystem, kind == Kind::MainSystem}))
            return "not read";
        auto rules = rulesOf(store);
        if (describedAll(rules) != describedAll(literal.all()))
            return "other rules";
        if (store.filterOptions() != literal.options)
            return "other options";

        std::erase_if(rules, [](const Rule* rule) { return !readsBack(*rule); });
        if (!store.writeToFile(copy_, rules) || store.lastErrorMessage())
            return "not written";
        RuleManager copy;
        copy.addFileContents(copy_, false);
        return asWritten(rulesOf(copy)) == asWritten(rules) ? "" : "other rules read back";
    }

private:
    static std::vector<const Rule*> rulesOf(RuleManager& store)
    {
        store.rebuildRulesCache();
        std::vector<const Rule*> rules;
        for (std::size_t i = 0; i < store.totalRules(true); ++i)
            rules.push_back(&store.ruleAtIndex(i, true));
        return rules;
    }
    static bool readsBack(const Rule& rule)
    {
        for (const auto& text : partsOf(rule))
            if (text.find('"') != std::string::npos || literalLines(text).size() > 1)
                return false;
        return rule.operations() != 0;
    }
    // Origin, number and flags are not written, and of equal rules the first one is read back.
    static std::vector<std::string> asWritten(const std::vector<const Rule*>& rules)
    {
        std::vector<std::string> texts;
        std::set<std::vector<std::string>> known;
        for (const auto* rule : rules) {
            auto parts = partsOf(*rule);
            const auto tag = parts[5];
            const auto created = parts[9];
            for (const auto at : {5, 8, 9, 10, 11, 12})
                parts[static_cast<std::size_t>(at)].clear();
            if (known.insert(parts).second)
                texts.push_back(joined(parts) + tag + created);
        }
        return texts;
    }

    const int chosen_ = ::setenv("TMPDIR", isWritable("/dev/shm") ? "/dev/shm" : "/tmp", 0);
    const TemporaryDirectory root_;
    const Directories at_{root_.path()};
    const std::string copy_ = root_ / "copy";
};

}
