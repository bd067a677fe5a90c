#include "foundation/files.h"
#include "literal_rules.h"
#include "random_rules.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

namespace vossel {
namespace {

class Failsafe : public testing::Test {
protected:
    void read(const std::string& name, std::string_view content)
    {
        ASSERT_TRUE(writeFile(root_ / name, content));
        EXPECT_TRUE(store_->addFileContents(root_ / name, false));
        store_->rebuildRulesCache();
    }
    void empty()
    {
        store_ = std::make_unique<RuleManager>();
        store_->setFailsafeFile(root_ / "failsafe");
    }

    test::TemporaryDirectory root_;
    std::unique_ptr<RuleManager> store_;
};

TEST_F(Failsafe, RulesForFilesOfOneFolderBecomeOneForTheFolder)
{
    const struct {
        const char* story;
        std::vector<const char*> paths; // with other words behind them where they differ
        std::vector<const char*> merged;
    } rows[] = {
        {"one alone", {"/d/a"}, {"/d/a"}},
        {"two files", {"/d/a", "/d/b"}, {"/d/"}},
        {"and a third", {"/d/a", "/d/b", "/d/c", "/d/a"}, {"/d/"}},
        {"the same file again", {"/d/a", "/d/a"}, {"/d/a"}},
        {"other operations of the same file", {"/d/a", "/d/a rw"}, {"/d/a", "/d/a rw"}},
        {"another folder", {"/d/a", "/e/b", "/d/e/c"}, {"/d/a", "/e/b", "/d/e/c"}},
        {"each in its folder", {"/d/a", "/e/b", "/d/c", "/e/d"}, {"/d/", "/e/"}},
        {"a file after its folder's rule", {"/d/", "/d/a"}, {"/d/"}},
        {"other operations after it", {"/d/", "/d/a rw", "/d/b rw"}, {"/d/", "/d/ rw"}},
        {"the first one keeps its operations", {"/d/a", "/d/b rw"}, {"/d/"}},
        {"folders in a folder", {"/d/e/", "/d/f/"}, {"/d/"}},
        {"in the uppermost folder", {"/a", "/b", "/c"}, {"//"}},
        {"objects of the driver", {":NVRAM/a", ":NVRAM/b", ":NVRAM/a"}, {":NVRAM/a", ":NVRAM/b"}},
    };
    const auto fileOf = [](const std::vector<const char*>& paths) {
        std::string content;
        for (const std::string path : paths) {
            const auto blank = path.find(' ');
            const auto operations = blank == std::string::npos ? " r" : path.substr(blank);
            content.append("allow path \"").append(path.substr(0, blank)).append("\" /bin/cat");
            content.append(operations).append(R"( "" "" "0")").append("\n");
        }
        return content;
    };
    for (const auto& [story, paths, merged] : rows) {
        SCOPED_TRACE(story);
        empty();
        read("failsafe", fileOf(paths));
        test::LiteralStore expected;
        expected.read(fileOf(merged), {});
        ASSERT_EQ(store_->policyRules().size(), merged.size());
        for (std::size_t i = 0; i < merged.size(); ++i)
            EXPECT_TRUE(
                store_->policyRules()[i]->isEqualToPolicyRule(*expected.groups.begin()->second[i]));
        empty();
        read("other", fileOf(paths));
        EXPECT_EQ(
            store_->policyRules().size(), std::set<std::string>(paths.begin(), paths.end()).size());
    }
}

TEST_F(Failsafe, MergesAsTheLiteralWalkDoes)
{
    test::Choices choices;
    for (int i = 0; i < 250; ++i) {
        empty();
        test::LiteralStore literal;
        // The second and the third file meet a store that holds rules.
        for (const std::string name : {choices.of(std::array{"other", "failsafe"}), "failsafe",
                 choices.of(std::array{"other", "failsafe"})}) {
            const auto content = choices.ruleLines(choices.below(40));
            read(name, content);
            literal.read(content, {}, name == "failsafe");
        }
        std::vector<std::shared_ptr<Rule>> rules = literal.all();
        rules.erase(rules.begin(), rules.begin() + std::ssize(literal.watchRules));
        ASSERT_EQ(test::describedAll(store_->policyRules()), test::describedAll(rules)) << i;
        ASSERT_EQ(test::describedAll(store_->watchRules()), test::describedAll(literal.watchRules));
    }
}

}
}
