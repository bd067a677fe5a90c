#include "foundation/files.h"
#include "foundation/property_list.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>

namespace vossel {
namespace {

using List = PropertyList;
using Format = PropertyListFormat;
using namespace std::string_literals;

std::string repeated(std::string_view part, std::size_t times)
{
    std::string text;
    text.reserve(part.size() * times);
    while (times-- > 0)
        text += part;
    return text;
}

std::string xml(const std::string& value)
{
    return "<plist version=\"1.0\">" + value + "</plist>";
}

List text(const char* characters)
{
    return List(std::string(characters));
}

List nested(int depth)
{
    List list(true);
    while (depth-- > 0)
        list = List(List::Array{std::move(list)});
    return list;
}

List everyKind()
{
    List::Dictionary inner = {{"", text("")}, {"ui.prompts.oob", List(std::int64_t{2})}};
    return List(List::Dictionary{
        {"z \xC3\xA9\xF0\x9F\x98\x80 <&>\"'", text("\xE2\x82\xAC </string> &amp; \t\r\n ")},
        {"numbers",
            List(List::Array{List(std::numeric_limits<std::int64_t>::min()),
                List(std::numeric_limits<std::int64_t>::max()), List(std::int64_t{-1}), List(0.1),
                List(-0.0), List(std::numeric_limits<double>::max()), List(5e-324),
                List(std::numeric_limits<double>::infinity()), List(1.0), List(std::int64_t{1})})},
        {"flags", List(List::Array{List(true), List(false), List(List::Array{})})},
        {"data", List(List::Data{"\0\xFF<&"s})},
        {"none", List(List::Data{})},
        {"dates", List(List::Array{List(List::Date{-2147483647}), List(List::Date{730900800})})},
        {"inner", List(std::move(inner))},
    });
}

// A binary list of these objects, the first being the root; offsets take 4 bytes.
std::string binary(
    const std::vector<std::string>& objects, unsigned char referenceSize = 1, char root = 0)
{
    const auto fourBytes = [](std::size_t n) {
        return std::string{static_cast<char>(n >> 24U), static_cast<char>(n >> 16U),
            static_cast<char>(n >> 8U), static_cast<char>(n)};
    };
    std::string bytes = "bplist00";
    std::string table;
    for (const auto& object : objects) {
        table += fourBytes(bytes.size());
        bytes += object;
    }
    const auto start = bytes.size();
    bytes += table + std::string(6, '\0') + '\4' + static_cast<char>(referenceSize);
    bytes += std::string(4, '\0') + fourBytes(objects.size()) + std::string(7, '\0') + root;
    return bytes + std::string(4, '\0') + fourBytes(start);
}

TEST(PropertyList, EveryKindComesBackFromBothFormats)
{
    for (const auto format : {Format::Xml, Format::Binary}) {
        const auto bytes = writePropertyList(everyKind(), format);
        ASSERT_TRUE(bytes) << bytes.reason();
        const auto read = parsePropertyList(*bytes);
        ASSERT_TRUE(read) << read.reason();
        EXPECT_EQ(*read, everyKind());
        // Whatever is cut off or changed, the rest is refused or is a list, but never read beyond.
        for (std::size_t length = 0; length < bytes->size() - 1; ++length)
            EXPECT_FALSE(parsePropertyList(std::string(*bytes, 0, length))) << length;
        for (std::size_t at = 0; at < bytes->size(); ++at) {
            for (const char other : {'\0', '\1', '\x5F', '\xA1', '\xFF'}) {
                auto changed = *bytes;
                changed[at] = other;
                const auto list = parsePropertyList(changed);
                EXPECT_TRUE(!list || writePropertyList(*list, Format::Binary)) << at;
            }
        }
    }
}

TEST(PropertyList, ReadsWhatOthersWrite)
{
    const List::Dictionary expected = {{"a", text("x<y & A\xE2\x82\xAC")},
        {"b", List(std::int64_t{-31})}, {"c", List(List::Data{"\0\1\2\3"s})}, {"d", List(1.5)},
        {"e", List(List::Date{86399})}, {"f", List(List::Array{})}};
    const auto read = parsePropertyList(
        "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!DOCTYPE plist PUBLIC \"-//X//DTD PLIST 1.0//EN\" \"http://x/PropertyList-1.0.dtd\">\n"
        "<!-- made <by> hand --><plist version=\"1.0\">\n<dict >\n"
        "<key>a</key><!-- > --><string>x<![CDATA[<y &]]> &#65;<!-- - -->&#x20AC;</string>\n"
        "<key>b</key><integer> -0x1F\n</integer><key>c</key><data>\n\tAAE\n\tCAw==\n</data>"
        "<key>d</key><real>+15e-1</real><key>e</key><date>2001-01-01T23:59:59Z</date>"
        "<key>f</key><array/></dict></plist>\n<!-- end -->\n");
    ASSERT_TRUE(read) << read.reason();
    EXPECT_EQ(*read, List(expected));

    // 0x80 and 0xFFFF are unsigned, eight bytes are signed; object 6 is shared.
    const auto shared = parsePropertyList(binary({"\xA7\1\2\3\4\5\6\6", "\x10\x80"s,
        "\x11\xFF\xFF"s, "\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE"s, "\x62\x20\xAC\0Z"s,
        "\x5F\x10\x10"s + "0123456789abcdef", "\xD1\x04\7"s, "\x22\x3F\xC0\0\0"s}));
    ASSERT_TRUE(shared) << shared.reason();
    const List inner(List::Dictionary{{"\xE2\x82\xACZ", List(1.5)}});
    EXPECT_EQ(*shared,
        List(List::Array{List(std::int64_t{128}), List(std::int64_t{65535}), List(std::int64_t{-2}),
            text("\xE2\x82\xACZ"), text("0123456789abcdef"), inner, inner}));
}

TEST(PropertyList, RealsDoNotFollowTheLocale)
{
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    bool comma = false;
    for (const auto* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "es_ES.UTF-8", "it_IT.UTF-8"})
        comma = comma || std::setlocale(LC_NUMERIC, name);
    if (!comma)
        GTEST_SKIP() << "no locale with a decimal comma is installed";
    const auto read = parsePropertyList(xml("<real>1.5</real>"));
    const auto written = writePropertyList(List(0.25), Format::Xml);
    std::setlocale(LC_NUMERIC, before.c_str());
    ASSERT_TRUE(read && written);
    EXPECT_EQ(*read, List(1.5));
    EXPECT_NE(written->find("0.25"), std::string::npos) << *written;
}

TEST(PropertyList, RefusesXmlThatIsNotWhollyAList)
{
    const std::string refused[] = {"", " ", "<", "<plist>", "text", "<dict/>", "<plist/>", xml(""),
        xml("<foo/>"), xml("<true/><true/>"), xml("<true/>") + "x", xml("<true/>") + xml("<true/>"),
        xml("<true/>x"), xml("<true>x</true>"), xml("<array>x</array>"), xml("<array></dict>"),
        xml("<array a='b'/>"), xml("<plist><true/></plist>"), xml("<key>a</key>"),
        xml("<array><key>a</key></array>"), xml("<string>a<true/></string>"),
        xml("<string>&x;</string>"), xml("<string>a & b</string>"), xml("<string>\xFF</string>"),
        xml("<string>&#xD800;</string>"), xml("<string>\1</string>"), xml("<string>&#1;</string>"),
        xml("<string>&#0;</string>"), xml("<string>a\0b</string>"s),
        xml("<dict><key>a\0b</key><true/></dict>"s), xml("<dict><true/></dict>"),
        xml("<dict><key>a</key></dict>"), xml("<dict><key>a</key><key>b</key></dict>"),
        xml("<dict><key>a</key><true/><key>&#97;</key><true/></dict>"),
        xml("<dict><key>CF</key><true/><true/></dict>"), xml("<integer>x</integer>"),
        xml("<integer/>"), xml("<integer>5x</integer>"), xml("<integer>1 2</integer>"),
        xml("<integer>010</integer>"), xml("<integer>--1</integer>"),
        xml("<integer>9223372036854775808</integer>"),
        xml("<integer>-9223372036854775809</integer>"), xml("<integer>&#53;</integer>"),
        xml("<integer><!-- -->5</integer>"), xml("<real>1,5</real>"), xml("<real/>"),
        xml("<real>+-1</real>"), xml("<real>1e999</real>"), xml("<date/>"),
        xml("<date>2001-02-29T00:00:00Z</date>"), xml("<date>2001-01-01 00:00:00Z</date>"),
        xml("<date>2001-01-01T24:00:00Z</date>"), xml("<date>1932-12-13T20:45:52Z</date>"),
        xml("<date>2069-01-19T03:14:08Z</date>"), xml("<data>AAE</data>"), xml("<data>AA=A</data>"),
        xml("<data>A===</data>"), xml("<data>!AAA</data>"),
        "<!DOCTYPE plist [<!ENTITY x \"y\">]>" + xml("<true/>"), xml("<!DOCTYPE plist><true/>"),
        xml("<true/><!-- "), xml("<string><?x?></string>"),
        xml(repeated("<array>", 129) + repeated("</array>", 129)),
        xml(repeated("<array>", 200'000) + repeated("</array>", 200'000)),
        repeated("<array>", 300'000), xml("<array>" + repeated("<true/>", 1'000'001) + "</array>"),
        xml("<string>" + repeated("&amp;", 3'000'000) + "</string>"),
        xml("<string>" + std::string(16 * 1024 * 1024, 'a') + "</string>")};
    for (const auto& bytes : refused)
        EXPECT_FALSE(parsePropertyList(bytes)) << bytes.substr(0, 120);
    EXPECT_TRUE(
        parsePropertyList(xml(repeated("<array>", 128) + "<true/>" + repeated("</array>", 128))));
}

TEST(PropertyList, RefusesBinariesThatAreHostile)
{
    std::vector<std::string> doubling;
    for (char i = 1; i < 60; ++i)
        doubling.push_back({'\xA2', i, i});
    doubling.emplace_back("\x09");
    std::vector<std::string> sharedData = {"\xAF\x11\x10\0"s + std::string(0x1000, '\1'),
        "\x4F\x11\x80\0"s + std::string(0x8000, 'x')};
    std::vector<std::string> deep;
    for (unsigned i = 1; i <= 0xFFFF; ++i)
        deep.push_back({'\xA1', static_cast<char>(i >> 8U), static_cast<char>(i)});
    deep.emplace_back("\x09");
    // Reached near the root first, then again below 100 more arrays.
    std::vector<std::string> deepSecond = {"\xA2\x02\x66"s, "\x09"};
    for (char i = 3; i <= 100; ++i)
        deepSecond.push_back({'\xA1', i});
    deepSecond.insert(deepSecond.end(), {"\xA1\1", "\xA1\1"});
    while (deepSecond.size() < 200)
        deepSecond.push_back({'\xA1', static_cast<char>(deepSecond.size() + 1)});
    deepSecond.emplace_back("\xA1\2");

    const std::vector<std::string> refused[] = {doubling, sharedData, deepSecond, {"\xA1\0"s},
        {"\xA1\1", "\xA1\0"s}, {"\xD1\1\0"s, "\x51z"}, {"\xD1\1\1", "\x09"},
        {"\xD2\1\2\3\3", "\x51z", "\x51z", "\x09"}, {"\xD2\1\2\3\3", "\x51z", "\x61\0z"s, "\x09"},
        {"\xA1\5"}, {"\x53z\0z"s}, {"\x52z\xFF"}, {"\x62\0a\0\0"s}, {"\x62\xD8\0\0a"s},
        {"\x61\xDC\0"s}, {"\x61\xD8\0"s}, {"\0"s}, {"\x0F"}, {"\x80\5"}, {"\xC1\1", "\x09"},
        {"\x72zz"}, {"\x14" + std::string(16, '\xFF')}, {"\x21\0\0"s},
        {"\x33\x7F\xF8\0\0\0\0\0\0"s}, {"\x33\x43\xAB\xC1\x6D\x67\x4E\xC8\0"s},
        {"\x5F\x13\x80" + std::string(7, '\0')}, {"\xAF\x13" + std::string(8, '\xFF')},
        {"\x5F\x22\0\0\0\0"s}, {"\x5F"}, {"\x5F\x13\1"}, {"\x13\1"}, {"\x59z"}};
    for (const auto& objects : refused)
        EXPECT_FALSE(parsePropertyList(binary(objects)))
            << testing::PrintToString(objects).substr(0, 120);
    EXPECT_FALSE(parsePropertyList(binary(deep, 2)));
    EXPECT_FALSE(parsePropertyList(binary({"\x09"}, 0)));
    EXPECT_FALSE(parsePropertyList(binary({"\x09"}, 9)));
    EXPECT_FALSE(parsePropertyList(binary({"\x09"}, 1, 1)));
    EXPECT_FALSE(parsePropertyList("bplist01" + binary({"\x09"}).substr(8)));
    EXPECT_TRUE(parsePropertyList(binary({"\x09"})));
}

List withKeys(int count)
{
    List::Dictionary entries;
    for (int i = 0; i < count; ++i)
        entries.emplace_back(std::to_string(i), List(true));
    return List(std::move(entries));
}

TEST(PropertyList, BoundsTheKeysOfDictionaries)
{
    for (const auto format : {Format::Xml, Format::Binary}) {
        const auto most = writePropertyList(withKeys(10'000), format);
        ASSERT_TRUE(most) << most.reason();
        EXPECT_EQ(*parsePropertyList(*most), withKeys(10'000));
        EXPECT_FALSE(writePropertyList(withKeys(10'001), format));
        const List two(List::Array{withKeys(8'000), withKeys(8'000)});
        EXPECT_FALSE(writePropertyList(two, format));
    }
    EXPECT_FALSE(
        parsePropertyList(xml("<dict>" + repeated("<key>a</key><true/>", 10'001) + "</dict>")));
}

TEST(PropertyList, WritesOnlyWhatReadsBackTheSame)
{
    const List control(List::Array{text("\x1B")});
    EXPECT_FALSE(writePropertyList(control, Format::Xml));
    const auto bytes = writePropertyList(control, Format::Binary);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(*parsePropertyList(*bytes), control);

    const List refused[] = {List("a\0b"s), text("\xFF"), List(List::Date{2147483648.0}),
        List(List::Date{std::nan("")}), List(List::Dictionary{{"a\0b"s, List()}}), nested(129),
        List(List::Dictionary{{"a", List()}, {"a", List()}})};
    for (const auto format : {Format::Xml, Format::Binary}) {
        for (const auto& list : refused)
            EXPECT_FALSE(writePropertyList(list, format));
        const auto deepest = writePropertyList(nested(128), format);
        ASSERT_TRUE(deepest);
        EXPECT_EQ(*parsePropertyList(*deepest), nested(128));
    }
}

TEST(PropertyList, ReadsNumbersAndTruthFromEveryKind)
{
    using Limits = std::numeric_limits<std::int64_t>;
    const struct {
        List list;
        std::int64_t integer;
        bool truth;
    } rows[] = {{List(std::int64_t{-7}), -7, true}, {List(std::int64_t{0}), 0, false},
        {List(true), 1, true}, {List(false), 0, false}, {List(-2.9), -2, true},
        {List(0.5), 0, true}, {List(-0.0), 0, false}, {List(1e30), Limits::max(), true},
        {List(-1e30), Limits::min(), true}, {List(9223372036854775808.0), Limits::max(), true},
        {List(std::nan("")), 0, true}, {text(" \n+12x"), 12, true}, {text("-3"), -3, true},
        {text("+-3"), 0, false}, {text("00"), 0, false}, {text("-007"), -7, true},
        {text("99999999999999999999"), Limits::max(), true},
        {text("-99999999999999999999"), Limits::min(), true}, {text("yes"), 0, true},
        {text(" +0True"), 0, true}, {text("no"), 0, false}, {text(""), 0, false},
        {text("++1"), 0, false}, {List(List::Data{"1"}), 0, false}, {List(List::Date{5}), 0, false},
        {List(), 0, false}, {List(List::Array{List(true)}), 0, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.list.string() ? *row.list.string() : std::to_string(&row - rows));
        EXPECT_EQ(row.list.integerValue(), row.integer);
        EXPECT_EQ(row.list.boolValue(), row.truth);
    }
}

TEST(PropertyList, FindsAndSetsKeys)
{
    List list(true);
    EXPECT_EQ(list.find("a"), nullptr);
    list.set("a", text("1"));
    list.set("b", List(false));
    list.set("a", text("2"));
    EXPECT_EQ(list, List(List::Dictionary{{"a", text("2")}, {"b", List(false)}}));
    ASSERT_NE(list.find("b"), nullptr);
    EXPECT_EQ(*list.find("b"), List(false));
    EXPECT_EQ(list.find("c"), nullptr);
}

TEST(PropertyList, FailuresNameTheFile)
{
    const test::TemporaryDirectory directory;
    const auto path = directory / "list.plist";
    EXPECT_NE(readPropertyList(path).reason().find(path), std::string::npos);
    ASSERT_TRUE(writeFile(path, "no list"));
    EXPECT_NE(readPropertyList(path).reason().find(path), std::string::npos);
    ASSERT_TRUE(writeFile(path, xml("<true/>")));
    EXPECT_EQ(*readPropertyList(path), List(true));
}

}
}
