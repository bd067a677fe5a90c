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
    if (!std::setlocale(LC_NUMERIC, "de_DE.UTF-8"))
        GTEST_SKIP() << "no locale with a decimal comma is installed";
    const auto read = parsePropertyList(xml("<real>1.5</real>"));
    const auto written = writePropertyList(List(0.25), Format::Xml);
    std::setlocale(LC_NUMERIC, "C");
    ASSERT_TRUE(read && written);
    EXPECT_EQ(*read, List(1.5));
    EXPECT_NE(written->find("0.25"), std::string::npos) << *written;
}

TEST(PropertyList, RefusesXmlThatIsNotWhollyAList)
{
    const std::string wholes[] = {"", " ", "<", "<plist>", "text", "<dict/>", "<plist/>",
        xml("<true/>") + "x", xml("<true/>") + xml("<true/>"), repeated("<array>", 300'000),
        "<!DOCTYPE plist [<!ENTITY x \"y\">]>" + xml("<true/>")};
    for (const auto& bytes : wholes)
        EXPECT_FALSE(parsePropertyList(bytes)) << bytes.substr(0, 120);
    const std::string values[] = {"", "<foo/>", "<true/><true/>", "<true/>x", "<true>x</true>",
        "<array>x</array>", "<array></dict>", "<array a='b'/>", "<plist><true/></plist>",
        "<key>a</key>", "<array><key>a</key></array>", "<string>a<true/></string>",
        "<string>&x;</string>", "<string>a & b</string>", "<string>\xFF</string>",
        "<string>&#xD800;</string>", "<string>\1</string>", "<string>&#0;</string>",
        "<string>a\0b</string>"s, "<dict><true/></dict>", "<dict><key>a</key></dict>",
        "<dict><key>a</key><key>b</key></dict>",
        "<dict><key>a</key><true/><key>&#97;</key><true/></dict>", "<integer>x</integer>",
        "<integer/>", "<integer>1 2</integer>", "<integer>010</integer>",
        "<integer>9223372036854775808</integer>", "<integer>-9223372036854775809</integer>",
        "<integer>&#53;</integer>", "<integer><!-- -->5</integer>", "<real>1,5</real>",
        "<real>+-1</real>", "<real>1e999</real>", "<date>2001-02-29T00:00:00Z</date>",
        "<date>2001-01-01 00:00:00Z</date>", "<date>2001-01-01T24:00:00Z</date>",
        "<date>1932-12-13T20:45:52Z</date>", "<date>2069-01-19T03:14:08Z</date>",
        "<data>AAE</data>", "<data>AA=A</data>", "<data>A===</data>", "<data>!AAA</data>",
        "<!DOCTYPE plist><true/>", "<true/><!-- ", "<string><?x?></string>",
        repeated("<array>", 129) + repeated("</array>", 129),
        "<array>" + repeated("<true/>", 1'000'001) + "</array>",
        "<string>" + repeated("&amp;", 3'000'000) + "</string>",
        "<string>" + std::string(16 * 1024 * 1024, 'a') + "</string>"};
    for (const auto& value : values)
        EXPECT_FALSE(parsePropertyList(xml(value))) << value.substr(0, 120);
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
        {"\xA1\1", "\xA1\0"s}, {"\xD1\1\1", "\x09"}, {"\xD2\1\2\3\3", "\x51z", "\x51z", "\x09"},
        {"\xD2\1\2\3\3", "\x51z", "\x61\0z"s, "\x09"}, {"\xA1\5"}, {"\x53z\0z"s}, {"\x52z\xFF"},
        {"\x62\xD8\0\0a"s}, {"\x61\xDC\0"s}, {"\x61\xD8\0"s}, {"\0"s}, {"\x0F"}, {"\x80\5"},
        {"\xC1\1", "\x09"}, {"\x14" + std::string(16, '\xFF')}, {"\x21\0\0"s},
        {"\x33\x7F\xF8\0\0\0\0\0\0"s}, {"\x5F\x13\x80" + std::string(7, '\0')},
        {"\xAF\x13" + std::string(8, '\xFF')}, {"\x5F\x22\0\0\0\0"s}, {"\x5F"}, {"\x5F\x13\1"},
        {"\x13\1"}, {"\x59z"}};
    for (const auto& objects : refused)
        EXPECT_FALSE(parsePropertyList(binary(objects)))
            << testing::PrintToString(objects).substr(0, 120);
    EXPECT_FALSE(parsePropertyList(binary(deep, 2)));
    for (const unsigned char referenceSize : {0, 9})
        EXPECT_FALSE(parsePropertyList(binary({"\x09"}, referenceSize)));
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

TEST(PropertyList, WritesOnlyWhatReadsBackTheSame)
{
    const List control(text("\x1B"));
    EXPECT_FALSE(writePropertyList(control, Format::Xml));
    EXPECT_EQ(*parsePropertyList(*writePropertyList(control, Format::Binary)), control);

    const List kept[] = {nested(128), withKeys(10'000)};
    const List refused[] = {List("a\0b"s), text("\xFF"), List(List::Date{2147483648.0}),
        List(List::Date{std::nan("")}), List(List::Dictionary{{"a\0b"s, List()}}), nested(129),
        List(List::Dictionary{{"a", List()}, {"a", List()}}), withKeys(10'001),
        List(List::Array{withKeys(8'000), withKeys(8'000)})};
    for (const auto format : {Format::Xml, Format::Binary}) {
        for (const auto& list : kept) {
            const auto bytes = writePropertyList(list, format);
            ASSERT_TRUE(bytes) << bytes.reason();
            EXPECT_EQ(*parsePropertyList(*bytes), list);
        }
        for (const auto& list : refused)
            EXPECT_FALSE(writePropertyList(list, format)) << &list - refused;
    }
}

TEST(PropertyList, ReadsNumbersAndTruthFromEveryKind)
{
    using Limits = std::numeric_limits<std::int64_t>;
    const struct {
        List list;
        std::int64_t integer;
        bool truth;
    } rows[] = {{List(std::int64_t{-7}), -7, true}, {List(true), 1, true}, {List(-2.9), -2, true},
        {List(0.5), 0, true}, {List(9223372036854775808.0), Limits::max(), true},
        {List(-1e30), Limits::min(), true}, {List(std::nan("")), 0, true},
        {text(" \n+12x"), 12, true}, {text("+-3"), 0, false}, {text("-007"), -7, true},
        {text("99999999999999999999"), Limits::max(), true},
        {text("-99999999999999999999"), Limits::min(), true}, {text("yes"), 0, true},
        {text(" +0True"), 0, true}, {text("no"), 0, false}, {List(List::Date{5}), 0, false},
        {List(List::Array{List(true)}), 0, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.list.string() ? *row.list.string() : std::to_string(&row - rows));
        EXPECT_EQ(row.list.integerValue(), row.integer);
        EXPECT_EQ(row.list.boolValue(), row.truth);
    }
}

TEST(PropertyList, SetsEachKeyOnce)
{
    List list(true);
    list.set("a", text("1"));
    list.set("b", List(false));
    list.set("a", text("2"));
    EXPECT_EQ(list, List(List::Dictionary{{"a", text("2")}, {"b", List(false)}}));
    EXPECT_EQ(list.find("c"), nullptr);
}

TEST(PropertyList, FailuresNameTheFile)
{
    const test::TemporaryDirectory directory;
    const auto path = directory / "list.plist";
    EXPECT_NE(readPropertyList(path).reason().find(path), std::string::npos);
    ASSERT_TRUE(writeFile(path, "no list"));
    EXPECT_NE(readPropertyList(path).reason().find(path), std::string::npos);
}

}
}
