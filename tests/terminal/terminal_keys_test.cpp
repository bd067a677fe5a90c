#include "frontends/terminal/terminal_keys.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace vossel {
namespace {

using Kind = TerminalKey::Kind;
using namespace std::string_literals;

// "C-c" is Control and "c", "M-Return" is Alt and Return.
std::string told(const std::vector<TerminalKey>& keys)
{
    constexpr const char* names[]
        = {"", "Return", "Escape", "Left", "Right", "Up", "Down", "Backspace", "Pasted", "Other"};
    std::string text;
    for (const TerminalKey& key : keys) {
        text += text.empty() ? "" : " ";
        text += std::string(key.control ? "C-" : "") + (key.alt ? "M-" : "");
        text += names[static_cast<std::size_t>(key.kind)];
        if (key.character > 0x20 && key.character < 0x7F)
            text += static_cast<char>(key.character);
        else if (key.kind == Kind::Character)
            text += std::to_string(key.character);
    }
    return text;
}

std::string fed(KeyParser& parser, std::string_view bytes)
{
    std::vector<TerminalKey> keys;
    parser.feed(bytes, keys);
    return told(keys);
}

std::string flushed(KeyParser& parser)
{
    std::vector<TerminalKey> keys;
    parser.flush(keys);
    return told(keys);
}

// What comes, pauses in between.
std::string fed(KeyParser& parser, std::initializer_list<std::string> pieces)
{
    std::string keys;
    for (const std::string& piece : pieces) {
        std::string more = fed(parser, piece);
        more += flushed(parser);
        keys += (keys.empty() || more.empty() ? "" : " ") + more;
        EXPECT_FALSE(parser.isPending());
    }
    return keys;
}

TEST(KeyParserTest, KnowsKeys)
{
    const std::pair<std::string, const char*> rows[]
        = {{"aZ~ ", "a Z ~ 32"}, {"é€😀", "233 8364 128512"}, {"\r\n\t\x1a", "Return C-j C-i C-z"},
            {"\0\x1c\x1f"s, "Other Other Other"}, {"\x7f\b", "Backspace Backspace"},
            {"\x03\033\x03", "C-c C-c"}, {"\033x\033é\033\r", "M-x M-233 M-Return"},
            {"\033\n\033\x0f\033\x7f", "C-M-j C-M-o M-Backspace"},
            {"\033[A\033[B\033OC\033OD", "Up Down Right Left"},
            {"\033[1;5A\033[1;3:2D\033[1;2C\033[1;133B", "C-Up M-Left Right C-Down"},
            {"\033[13;5u\033[13;3u\033[27;5;13~\033[27u", "C-Return M-Return C-Return Escape"},
            {"\033[49;5u\033[27;5;49~\033[79;6u\033[99;5:1u", "C-1 C-1 C-o C-c"},
            {"\033[97;2u\033[65;3u\033[127u\033[9u\033[233u", "A M-A Backspace C-i 233"},
            {"\033\033[A\033\033", "Escape Up Escape"}, {"\033\x84x", "Escape Other x"},
            {"\xc3(\xff\xe2\x82x\xc2\x85", "Other ( Other Other x Other"},
            {"\033[99;5:3u\033[1;1:3A", ""}, {"\033[1\rx\033[1\033[B", "Other x Other Down"}};
    for (const auto& [bytes, expected] : rows) {
        KeyParser parser;
        EXPECT_EQ(fed(parser, bytes), expected) << testing::PrintToString(bytes);
    }
}

TEST(KeyParserTest, NothingInsideASequenceIsAKey)
{
    const std::string big(100, '9');
    const std::string rows[] = {"\033[24;80R", "\033[?62;1;4c", "\033[?1u", "\033[I", "\033[3~",
        "\033[[A", "\033[1;9A", "\033[1;5P", "\033[57399u", "\033[55296u", "\033[1114112u",
        "\033[4294967309u", "\033[27;5~", "\033[201~", "\033[ A", "\033[é1A", "\033[<0;1;1M",
        "\033[M A\r", "\033[M\0\x9b!"s, "\033[M \xc4\x80y", "\033[tyy", "\033[Tyyyyyy", "\033OP",
        "\033O5A", "\033]l yes\ny\r\007", "\033]11;rgb:aa/ff/00\033\\", "\033P1+r\007\n41\033\\",
        "\033_Gy\033\\", "\x9b\x31;1R", "\x8f\x35\x41", "\x9dl \xe2\x9c\x9cy\x9c", "\xc2\x9b\x32R",
        "\033[" + big + "A", "\033O" + big + "A", "\033]" + big + "\007"};
    for (const std::string& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row));
        KeyParser parser;
        EXPECT_EQ(fed(parser, row + "y"), "Other y");
        for (std::size_t pause = 3; pause + 1 < row.size(); ++pause) {
            std::string keys = fed(parser, row.substr(0, pause));
            EXPECT_EQ(parser.isPending(), keys.empty());
            for (int times = 0; times < 2; ++times)
                keys += flushed(parser);
            keys += fed(parser, row.substr(pause));
            EXPECT_EQ(keys, "Other") << "after a pause at " << pause;
            EXPECT_EQ(fed(parser, "y"), "y");
        }
    }
}

TEST(KeyParserTest, APasteIsOneKeyWhateverIsInIt)
{
    KeyParser parser;
    EXPECT_EQ(fed(parser, "\033[200~A\r\x03\033[20\033\033[201~y"), "Pasted y");
    EXPECT_EQ(fed(parser, {"\033[200~\033", "[201", std::string(100'000, 'A')}), "");
    EXPECT_EQ(fed(parser, "\033[201~\r"), "Pasted Return");
    EXPECT_EQ(fed(parser, {"\033[2", "00~A\033[201~A"}), "Other Pasted A");
    EXPECT_EQ(fed(parser, {"\033", "[200~A\r\033[201~A"}), "Escape Pasted A");
}

TEST(KeyParserTest, AfterThePause)
{
    struct Row {
        std::string begun;
        const char* key;
        const char* later; // what "Ay" is then
    };
    const Row rows[] = {{"\033", "Escape", "A y"}, {"\033\033", "Escape", "A y"},
        {"\033[", "Other", "y"}, {"\033O", "Other", "y"}, {"\033]", "Other", "A y"},
        {"\033]0;", "Other", ""}, {"\033]0;\033", "Other Escape", "A y"},
        {"\xe2\x82", "Other", "A y"}, {"\033[M", "Other", ""}};
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.begun));
        KeyParser parser;
        fed(parser, row.begun);
        EXPECT_TRUE(parser.isPending());
        EXPECT_EQ(flushed(parser), row.key);
        EXPECT_FALSE(parser.isPending());
        EXPECT_EQ(fed(parser, "Ay"), row.later);
        EXPECT_EQ(fed(parser, "\x03"), "C-c") << "the way out";
        EXPECT_TRUE(fed(parser, "\033").empty() && parser.isPending()) << "another way out";
    }
    KeyParser parser;
    EXPECT_EQ(fed(parser, {"\033", "[A", "\033", "OA", "\033", "x"}), "Escape Escape Escape x");
}

}
}
