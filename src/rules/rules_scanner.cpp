#include "rules/rules_scanner.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vossel {

namespace {

// Whether a line break other than U+000A may begin with the byte.
constexpr bool mayBeginBreak(unsigned char byte)
{
    return static_cast<unsigned char>(byte - 0x0B) < 3 || byte == 0xC2 || byte == 0xE2;
}

constexpr std::size_t blockSize = 64;

bool mayHoldBreak(const char* block)
{
    // Of a fixed size and without a way out, so that the compiler looks at many bytes at a time.
    std::array<unsigned char, blockSize> bytes; // NOLINT(cppcoreguidelines-pro-type-member-init)
    std::memcpy(bytes.data(), block, bytes.size());
    unsigned char found = 0;
    for (const auto byte : bytes)
        found |= static_cast<unsigned char>(mayBeginBreak(byte));
    return found != 0;
}

// The length in bytes of the line break other than U+000A at the start of `text`; 0 for none.
std::size_t breakLength(std::string_view text)
{
    if (text.starts_with("\xC2\x85"))
        return 2;
    if (text.starts_with("\xE2\x80\xA8") || text.starts_with("\xE2\x80\xA9"))
        return 3;
    return text.front() >= 0x0B && text.front() <= 0x0D ? 1 : 0;
}

}

RuleLines::RuleLines(std::string_view text)
    : text_(text)
    , lineFeed_(std::min(text.find('\n'), text.size()))
    , unusual_(unusualFrom(0))
{
}

bool RuleLines::next(std::string_view& line)
{
    if (at_ > text_.size())
        return false;
    while (unusual_ < lineFeed_) {
        const auto end = unusual_;
        const auto length = breakLength(text_.substr(end));
        unusual_ = unusualFrom(end + std::max<std::size_t>(length, 1));
        if (length > 0) {
            line = text_.substr(at_, end - at_);
            at_ = end + length;
            return true;
        }
    }
    line = text_.substr(at_, lineFeed_ - at_);
    at_ = lineFeed_ + 1;
    if (at_ <= text_.size())
        lineFeed_ = std::min(text_.find('\n', at_), text_.size());
    unusual_ = std::max(unusual_, at_);
    return true;
}

// The first byte from there on that may begin a break, or one as far as was looked at a time.
std::size_t RuleLines::unusualFrom(std::size_t at) const
{
    static constexpr std::size_t maxDistance = std::size_t{64} * 1024;
    const auto stop = std::min(text_.size(), at + maxDistance);
    while (at + blockSize <= stop && !mayHoldBreak(text_.data() + at))
        at += blockSize;
    while (at < stop && !mayBeginBreak(static_cast<unsigned char>(text_[at])))
        ++at;
    return at;
}

std::vector<std::string> scanString(std::string_view line)
{
    std::vector<std::string> fields;
    scanFields(line, [&fields](std::string_view field) { fields.emplace_back(field); });
    return fields;
}

}
