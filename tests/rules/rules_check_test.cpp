#include "foundation/files.h"
#include "rules/lint/rules_check.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace vossel {
namespace {

// "line:column code: message", and the other rule's line where there is one.
std::string textOf(const std::vector<Finding>& findings)
{
    std::string text;
    for (const auto& finding : findings) {
        text += std::to_string(finding.line) + ':' + std::to_string(finding.column) + ' ';
        text.append(nameOf(finding.code)).append(": ").append(finding.message);
        text += (finding.by ? " (" + std::to_string(*finding.by) + ')' : "") + '\n';
    }
    return text;
}

// Each NAME.rc of the corpus, and beside it what is found in it. The name begins with how it is
// read.
TEST(RulesCheck, FindsWhatIsNotReadAsItWasMeant)
{
    constexpr std::size_t limit = 100'000;
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(VOSSEL_RULES_CORPUS)) {
        auto path = entry.path();
        if (path.extension() != ".rc")
            continue;
        SCOPED_TRACE(path);
        const auto name = path.filename().string();
        const bool isMain = name.starts_with("main");
        const auto findings
            = checkRules(*readFile(path, limit), {isMain || name.starts_with("system"), isMain});
        const auto expected = readFile(path.replace_extension(".findings"), limit);
        EXPECT_EQ(textOf(findings), expected ? *expected : "");
        files += expected ? 1 : 0;
    }
    EXPECT_GE(files, 10U);
}

TEST(RulesCheck, ReadsOptionsWhereAMainSystemFileIsMeantAndFollowsNoLink)
{
    const test::TemporaryDirectory directory;
    std::filesystem::create_symlink("user.rc", directory / "link.rc");
    const struct {
        const char* name;
        bool asSystem;
        std::optional<FindingCode> finding;
    } rows[] = {
        {"vossel.rc", true, std::nullopt},
        {"paranoid.rc.new", true, std::nullopt},
        {"vossel.rc", false, FindingCode::SetInUserFile},
        {"user.rc", true, FindingCode::SetInUserFile},
    };
    for (const auto& [name, asSystem, finding] : rows) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(writeFile(directory / name, "set a 2"));
        const auto found = checkRulesFile(directory / name, asSystem)->findings;
        ASSERT_EQ(found.size(), finding ? 1U : 0U);
        EXPECT_TRUE(found.empty() || found[0].code == finding);
    }
    EXPECT_EQ(
        checkRulesFile(directory / "link.rc", true)->findings.at(0).code, FindingCode::Symlink);
    EXPECT_FALSE(checkRulesFile(directory / "missing.rc", true));
}

}
}
