#include "vosselctl_run.h"

#include <filesystem>

namespace vossel::test {
namespace {

using namespace std::string_literals;

class VosselctlRules : public VosselctlFixture {
protected:
    VosselctlRules() { first_ = {"rules"}; }
};

TEST_F(VosselctlRules, ListsWhatFilesSay)
{
    write("a", "deny prefix \"/z /\" \"/bin/cp via /bin/sh\" xr t team 18446744073709551615\n");
    write("b", "watch path /w any w t\n\nset a b c d\ndeny suffix \"\x1b[2J\u202e\" any \"\"");
    const Json cp{{"kind", "policy"}, {"class", "deny"}, {"type", "prefix"}, {"path", "/z /"},
        {"process", "/bin/cp via /bin/sh"}, {"operations", "rx"}, {"flags", ""}, {"tag", "t"},
        {"constraint", "team"}, {"created", 9223372036854775807U}, {"sequence", 0},
        {"system", false}, {"group", "cp:/bin/cp:/bin/sh:team"}, {"state", 0}, {"name", "cp"}};
    EXPECT_EQ(Json::parse(done({"list", "a", "b", "--json", "--filter", "BIN/CP"})), cp);
    const Json watch{{"kind", "watch"}, {"class", "watch"}, {"type", "path"}, {"path", "/w"},
        {"process", "any"}, {"operations", "w"}, {"flags", ""}, {"tag", ""}, {"sequence", 0},
        {"system", true}, {"state", 1}, {"name", ""}};
    const auto system = done({"list", "b", "--json", "--system"});
    EXPECT_EQ(Json::parse(system.substr(0, system.find('\n'))), watch);
    EXPECT_EQ(done({"list", "b", "a"}),
        "watch  path    w   /w             any                  t\n"
        "deny   suffix      \\e[2J\\u{202e}  any\n"
        "err    err         b              c\n"
        "deny   prefix  rx  /z /           /bin/cp via /bin/sh  t  team\n");

    // Options are set in the product's own file, wherever the product lies.
    const auto main = directory_ / "Library/Application Support/Vossel/";
    std::filesystem::create_directories(main);
    ASSERT_TRUE(writeFile(main + "vossel.rc", "set a b c d\n"));
    EXPECT_NE(done({"list", main + "vossel.rc"}), "");
    EXPECT_EQ(done({"list", main + "vossel.rc", "--prefix", directory_.path() + "/"}), "");
}

TEST_F(VosselctlRules, FormatsAndMerges)
{
    write("a", "; lost\ndeny path /d/b /bin/b r\nwatch path /w any w\ndeny path /d/a /bin/a r t\n");
    write("b", "deny path /d/c /bin/a r\n");
    const auto watch = "watch path \"/w\" \"any\" w \"\"\n"s;
    const auto b = "deny path \"/d/b\" \"/bin/b\" r \"\" \"\" \"0\"\n"s;
    const auto formatted = watch + "deny path \"/d/a\" \"/bin/a\" r \"t\" \"\" \"0\"\n" + b;
    const auto merged = watch + "deny path \"/d/\" \"/bin/a\" r \"t\" \"\" \"0\"\n" + b;
    EXPECT_EQ(done({"format", "a"}), formatted);
    EXPECT_EQ(done({"merge", "a", "b"}), merged);
    // OUT is replaced last, so that it may be one of the files that are read.
    EXPECT_EQ(done({"merge", "a", "b", "-o", "c"}), "");
    EXPECT_EQ(done({"format", "a", "-o", "a"}), "");
    EXPECT_EQ(*readFile(directory_ / "a", 1000), formatted);
    EXPECT_EQ(*readFile(directory_ / "c", 1000), merged);
}

TEST_F(VosselctlRules, ChecksAndNamesRedundantRules)
{
    write("a\x1b", "deny path /d/b any r\nal\x1bow path /a any r\n\ndeny prefix /d any r\r");
    const auto human = run({"check", "a\x1b"});
    EXPECT_EQ(human.status, 1);
    EXPECT_THAT(human.output,
        testing::MatchesRegex("a\\\\e:1:1: redundant: [^\n]* \\(see line 4\\)\n"
                              "a\\\\e:2:1: unknown-class: \"al\\\\eow\" [^\n]*\n"));
    EXPECT_THAT(human.error, testing::HasSubstr("line breaks"));
    const auto json = run({"check", "a\x1b", "--json"});
    EXPECT_EQ(json.status, 1);
    auto first = Json::parse(json.output.substr(0, json.output.find('\n')));
    EXPECT_NE(first["message"], "");
    first.erase("message");
    EXPECT_EQ(first, (Json{{"line", 1}, {"column", 1}, {"code", "redundant"}, {"by", 4}}));

    const auto pair = Json::parse(done({"redundant", "a\x1b", "--json"}));
    EXPECT_EQ(pair["rule"]["path"], "/d/b");
    EXPECT_EQ(pair["by"]["path"], "/d");
    EXPECT_EQ(done({"redundant", "a\x1b"}),
        "deny path \"/d/b\" \"any\" r \"\" \"\" \"0\"\n"
        "  is covered by deny prefix \"/d\" \"any\" r \"\" \"\" \"0\"\n");
    write("good", "set a 2\n");
    std::filesystem::rename(directory_ / "good", directory_ / "vossel.rc");
    EXPECT_EQ(done({"check", "vossel.rc", "--system"}), "");
}

TEST_F(VosselctlRules, CutsLinesAndNames)
{
    const auto words = "a \"b  \"c \"\"\n\n\r\xff\0 x\u2028\ny \"open q"s;
    EXPECT_EQ(done({"scan"}, {}, words),
        "[\"a\",\"b  \",\"c\",\"\"]\n[]\n[\"\\r\xef\xbf\xbd\\u0000\",\"x\u2028\"]\n"
        "[\"y\",\"q\"]\n");
    EXPECT_EQ(done({"scan"}, {}, std::string(200'000, 'x')).size(), 200'005U);

    EXPECT_EQ(
        Json::parse(done({"identity", "/A.app/B.app/c (-x via /bin/sh", "--constraint", "t"})),
        (Json{{"name", "c (-x"}, {"group", "c (-x:/A.app/B.app/c (-x:/bin/sh:t"},
            {"path", "/A.app/B.app/c"}, {"bundlePath", "/A.app"}, {"parentPath", "/bin/sh"},
            {"parentName", "sh"}}));
    const auto any = Json::parse(done({"identity", "any"}));
    EXPECT_TRUE(any["parentPath"].is_null() && any["parentName"].is_null());
}

TEST_F(VosselctlRules, WhatCannotBeDoneEndsWithStatus2AndOneSentence)
{
    write("good", "deny path /a any r\n");
    write("bytes", "\xff");
    const auto cut = "deny path /a any r\n\0deny path /b any r\n"s;
    write("cut", cut);
    std::filesystem::create_symlink("good", directory_ / "link");
    const Refusal rows[] = {
        {{"list", "good", "missing"}, "missing: No such file"},
        {{"list", "link"}, "link is a symbolic link"},
        {{"list", "bytes"}, "bytes is not UTF-8"},
        {{"redundant", "."}, "directory"},
        {{"format", "/dev/null"}, "/dev/null"},
        {{"merge", "good", "missing"}, "missing"},
        {{"check", "missing"}, "missing: No such file"},
        {{"check", "."}, "directory"},
        {{"check", "/dev/zero"}, "/dev/zero"},
        {{"format", "good", "-o", "link"}, "'link' for writing"},
        {{"format", "good", "-o", "none/x"}, "'none/x' for writing"},
        {{"format", "good", "-o", "/dev/full"}, "No space left"},
        {{"format", "good"}, "standard output", "/dev/full"},
        {{"list", "good", "--json"}, "standard output", "/dev/full"},
        {{"list", "good", "--pretty"}, "--json"},
        {{"list", "\x1b[2J"}, "\\e[2J: No such"},
    };
    for (const auto& row : rows)
        expectRefusal(row);
    // What a NUL cuts is listed as far as it goes, and never written over itself.
    EXPECT_EQ(done({"list", "cut"}), "deny  path  r  /a  any\n");
    EXPECT_THAT(run({"format", "cut", "-o", "cut"}).error, testing::HasSubstr("not replaced"));
    EXPECT_EQ(*readFile(directory_ / "cut", 1000), cut);
}

}
}
