#include "foundation/utf8.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace vossel {

namespace {

struct Sequence {
    std::size_t length; // bytes, at least 1
    bool valid;
};

// What stands at the start of `bytes`, which is not empty: a whole character, or the longest
// prefix of one that nothing can complete (a single byte where not even that begins here).
Sequence nextSequence(std::string_view bytes)
{
    const auto byteAt = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = byteAt(0);
    if (lead < 0x80)
        return {1, true};
    if (lead < 0xC2 || lead > 0xF4)
        return {1, false};
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    // The second byte alone decides on overlong forms, surrogates and the upper end.
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    switch (lead) {
    case 0xE0:
        low = 0xA0;
        break;
    case 0xED:
        high = 0x9F;
        break;
    case 0xF0:
        low = 0x90;
        break;
    case 0xF4:
        high = 0x8F;
        break;
    default:
        break;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if (i == bytes.size() || byteAt(i) < low || byteAt(i) > high)
            return {i, false};
        low = 0x80;
        high = 0xBF;
    }
    return {length, true};
}

constexpr std::size_t blockSize = 16;

bool isAsciiByte(char byte)
{
    return static_cast<unsigned char>(byte) < 0x80;
}

// The top bits of the bytes of a block.
std::array<std::uint64_t, 2> topBits(const char* block)
{
    std::array<std::uint64_t, 2> words;
    static_assert(sizeof words == blockSize);
    std::memcpy(words.data(), block, blockSize);
    constexpr std::uint64_t mask = 0x8080808080808080;
    return {words[0] & mask, words[1] & mask};
}

// How many ASCII bytes `bytes` begin with.
std::size_t leadingAscii(std::string_view bytes)
{
    static_assert(std::endian::native == std::endian::little);
    const auto place
        = [](std::uint64_t bits) { return static_cast<std::size_t>(std::countr_zero(bits)) / 8; };
    std::size_t length = 0;
    for (; bytes.size() - length >= blockSize; length += blockSize) {
        const auto [low, high] = topBits(bytes.data() + length);
        if ((low | high) != 0)
            return length + (low != 0 ? place(low) : blockSize / 2 + place(high));
    }
    // What is left is seen with what stands before it, or else byte by byte.
    if (length != 0) {
        const auto [low, high] = topBits(bytes.data() + bytes.size() - blockSize);
        if ((low | high) == 0)
            return bytes.size();
    }
    while (length < bytes.size() && isAsciiByte(bytes[length]))
        ++length;
    return length;
}

// The bytes 0x80 to 0xFF, in their order; 0xDB is the euro sign, as it is since 1998.
constexpr std::array<char16_t, 128> macRoman = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, // 80
    0x00E0, 0x00E2, 0x00E4, 0x00E3, 0x00E5, 0x00E7, 0x00E9, 0x00E8, // 88
    0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3, // 90
    0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, // 98
    0x2020, 0x00B0, 0x00A2, 0x00A3, 0x00A7, 0x2022, 0x00B6, 0x00DF, // A0
    0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8, // A8
    0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202, 0x2211, // B0
    0x220F, 0x03C0, 0x222B, 0x00AA, 0x00BA, 0x03A9, 0x00E6, 0x00F8, // B8
    0x00BF, 0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB, // C0
    0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5, 0x0152, 0x0153, // C8
    0x2013, 0x2014, 0x201C, 0x201D, 0x2018, 0x2019, 0x00F7, 0x25CA, // D0
    0x00FF, 0x0178, 0x2044, 0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02, // D8
    0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1, // E0
    0x00CB, 0x00C8, 0x00CD, 0x00CE, 0x00CF, 0x00CC, 0x00D3, 0x00D4, // E8
    0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC, // F0
    0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7, // F8
};

void appendUtf8(std::string& text, char16_t character)
{
    if (character < 0x800) {
        text += static_cast<char>(0xC0 | (character >> 6));
    } else {
        text += static_cast<char>(0xE0 | (character >> 12));
        text += static_cast<char>(0x80 | ((character >> 6) & 0x3F));
    }
    text += static_cast<char>(0x80 | (character & 0x3F));
}

}

bool isAscii(std::string_view bytes)
{
    return leadingAscii(bytes) == bytes.size();
}

bool isValidUtf8(std::string_view bytes)
{
    while (!bytes.empty()) {
        bytes.remove_prefix(leadingAscii(bytes));
        while (!bytes.empty() && !isAsciiByte(bytes.front())) {
            const auto next = nextSequence(bytes);
            if (!next.valid)
                return false;
            bytes.remove_prefix(next.length);
        }
    }
    return true;
}

std::optional<Utf8Character> firstCharacter(std::string_view bytes)
{
    const auto next = bytes.empty() ? Sequence{0, false} : nextSequence(bytes);
    if (!next.valid)
        return std::nullopt;
    constexpr std::array<unsigned char, 5> leadBits = {0, 0x7F, 0x1F, 0x0F, 0x07};
    char32_t code = static_cast<unsigned char>(bytes.front()) & leadBits.at(next.length);
    for (const char byte : bytes.substr(1, next.length - 1))
        code = code << 6 | (static_cast<unsigned char>(byte) & 0x3FU);
    return Utf8Character{code, next.length};
}

std::string toValidUtf8(std::string_view bytes)
{
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const auto next = nextSequence(bytes);
        text += next.valid ? bytes.substr(0, next.length) : std::string_view("\xEF\xBF\xBD");
        bytes.remove_prefix(next.length);
    }
    return text;
}

std::string fromMacRoman(std::string_view bytes)
{
    std::string text;
    text.reserve(bytes.size());
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        if (code < 0x80)
            text += byte;
        else
            appendUtf8(text, macRoman[code - 0x80U]);
    }
    return text;
}

}
