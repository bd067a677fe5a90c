#include "rules/lint/rules_check.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace vossel {
namespace {

using namespace std::string_literals;
using Findings = std::vector<std::string>;

// "line:column code", and the other rule's line where there is one.
Findings shortened(const std::vector<Finding>& findings)
{
    Findings texts;
    for (const auto& finding : findings) {
        auto text = std::to_string(finding.line) + ':' + std::to_string(finding.column) + ' ';
        text += nameOf(finding.code);
        if (finding.by)
            text += ' ' + std::to_string(*finding.by);
        texts.push_back(std::move(text));
    }
    return texts;
}

constexpr RulesKind user = {};
constexpr RulesKind system = {true, false};
constexpr RulesKind mainSystem = {true, true};

TEST(RulesCheck, FindsWhatIsNotReadAsItWasMeant)
{
    const struct {
        std::string text;
        Findings findings;
        RulesKind kind = user;
    } rows[] = {
        {"", {}},
        {"; allow\n\n \t \nwatch path /w any r\r\nallow path \"/a\tb\" any xr \"#\"", {}},
        // Too few fields
        {"allow path /a r\n  hello\n\"\"", {"1:1 ignored", "2:3 ignored", "3:1 ignored"}},
        {"# a\nSet a 2", {"1:1 ignored", "2:1 ignored"}},
        // Comments
        {" ; a\n\t; b c d e\n\t; b c d e",
            {"1:2 indented-comment", "2:2 indented-comment", "3:2 indented-comment"}},
        {"# a b c rw", {"1:1 unknown-class"}},
        // Words: columns count characters, and the quote belongs to the field
        {"\"é\" path /é/ any \"-\"", {"1:1 unknown-class", "1:18 no-operations"}},
        {"Deny Path /a any R", {"1:1 unknown-class", "1:6 unknown-type", "1:18 no-operations"}},
        {"watch exact /a any r", {"1:7 unknown-type"}},
        {"watch path /a any \"\" s", {"1:19 no-operations"}, system},
        {"prefix /a any rw tag\nallow /a any rw tag", {"1:1 unknown-class", "2:7 unknown-type"}},
        // Tabs
        {"deny\tpath\t/a\tany\tr\t", {"1:5 tab-separator"}},
        {"deny\tpath\t\"/a\"\t\"any\"\tr", {"1:5 tab-separator"}},
        {"dney path /a any r \"\t\" a\tb", {"1:1 unknown-class", "1:25 tab-separator"}},
        {"deny path /a any\tr \"t g\"", {"1:17 tab-separator"}},
        // Quotes
        {"deny path \"/a b any r", {"1:11 unterminated-quote"}},
        {"deny Path /a any \"- \tr", {"1:6 unknown-type", "1:18 unterminated-quote"}},
        {"\"", {"1:1 unterminated-quote"}},
        // Options
        {"set a 2\nset a b c r\nset a b c r",
            {"1:1 set-in-user-file", "2:1 set-in-user-file", "3:1 set-in-user-file"}},
        {"set a 2", {"1:1 set-in-user-file"}, system},
        {"set a 2\nset a\nset a b c d", {"2:1 ignored"}, mainSystem},
        // Line breaks
        {"x\ry\u0085z\u2028 v", {"1:1 ignored", "2:1 ignored", "3:1 ignored", "4:2 ignored"}},
        {"x\r\ny", {"1:1 ignored", "3:1 ignored"}},
        // Bytes
        {"x\né\xC3y\0"s, {"2:2 not-utf8"}},
        {"x\néy\0\xFF\0"s, {"1:1 ignored", "2:1 ignored", "2:3 nul"}},
        {"\0x"s, {"1:1 nul"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        EXPECT_EQ(shortened(checkRules(row.text, row.kind)), row.findings);
    }
}

TEST(RulesCheck, NamesTheRuleThatMakesAnotherOneSuperfluous)
{
    const struct {
        std::string text;
        Findings findings;
        RulesKind kind = user;
    } rows[] = {
        {"deny path /a any r 1\n;\n  deny path /a any r 2 \"\" 7\ndeny path /a any r 3",
            {"3:3 duplicate 1", "4:1 duplicate 1"}},
        {"deny prefix /a any r u\ndeny prefix /a any r\nwatch path /a any r s\nwatch path /a any r",
            {"1:1 redundant 2", "2:1 redundant 1"}, system},
        {"watch path /a any r a\nwatch path /a any r b\nwatch path any any rw",
            {"2:1 duplicate 1"}},
        {"deny path /b/c any r\ndeny prefix /b/ any rw\ndeny path /b/c any r",
            {"1:1 redundant 2", "3:1 duplicate 1"}},
        // Other class, path or constraint, too few operations, a parent of its own
        {"allow prefix /b any r\ndeny path /b/c any r\ndeny path /b any r\n"
         "deny prefix /b any r \"\" team\ndeny prefix /b any w\ndeny prefix /b \"any via /p\" r",
            {}},
        // Of applications whose group does not tell the constraint
        {"deny path any \"any via p\" r \"\" a\ndeny path /b \"any via p\" r \"\" b\n"
         "deny path /c \"any via p\" r \"\" a",
            {"3:1 redundant 1"}},
        {"deny path any any r\ndeny path \"\" any r", {"1:1 redundant 2", "2:1 redundant 1"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(shortened(checkRules(row.text, row.kind)), row.findings);
    }
}

TEST(RulesCheck, SaysWhatWasProbablyMeant)
{
    const std::vector<std::array<std::string, 2>> rows = {
        {"alow path /a any r", "did you mean \"allow\"?"},
        {"WATCH path /a any r", "capitals count; did you mean \"watch\"?"},
        {"dney path", "did you mean \"deny\"?"},
        {"allow pth /a any r", "\"path\"?"},
        {"block path /a any r", "the classes are"},
        {"allow a /a any r", "the types are"},
        {"// path /a any r", "is a comment"},
        {"prefix /a any r tag", "the class"},
        {"allow prefix /a rw", ": the process (any for every one)"},
        {"allow prefix any rw", ": the path or the process"},
        {"allow prefix /a any", ": the operation letters"},
        {"allow /a any rw", ": the type ("},
        {"watch", "the path, the process (any for every one) and the operation letters"},
        {"deny path /a rw tag", "is the process missing before \"rw\"?"},
        {"deny path /a any RW", "capitals count"},
        {"deny path /my docs/ any rw", "lack its quotes?"},
        {"deny\t\tpath /a any r", "part \"deny\" from \"path\""},
        {"deny path \"/a b any", "\"/a b\" is lost, and \"any\" is"},
        {"set a 2", "the line is ignored"},
        {"set a 2 b c", "no known class"},
        {std::string(100, 'x'), '"' + std::string(40, 'x') + "…\""},
    };
    for (const auto& [text, part] : rows) {
        const auto findings = checkRules(text, user);
        ASSERT_EQ(findings.size(), 1U) << text;
        EXPECT_NE(findings[0].message.find(part), std::string::npos) << findings[0].message;
    }
}

TEST(RulesCheck, ReadsOptionsWhereAMainSystemFileIsMeantAndFollowsNoLink)
{
    const test::TemporaryDirectory directory;
    const auto codes = [&directory](const std::string& name, bool asSystem) {
        const auto checked = checkRulesFile(directory / name, asSystem);
        return checked ? shortened(checked->findings) : Findings{"none"};
    };
    for (const auto* name : {"vossel.rc", "paranoid.rc.new", "user.rc"})
        std::ofstream(directory / name) << "set a 2";
    std::filesystem::create_symlink("user.rc", directory / "link.rc");
    const Findings unread = {"1:1 set-in-user-file"};
    EXPECT_EQ(codes("vossel.rc", true), Findings());
    EXPECT_EQ(codes("paranoid.rc.new", true), Findings());
    EXPECT_EQ(codes("vossel.rc", false), unread);
    EXPECT_EQ(codes("user.rc", true), unread);
    EXPECT_EQ(codes("link.rc", true), Findings{"1:1 symlink"});
    EXPECT_EQ(codes("missing.rc", true), Findings{"none"});
}

}
}
