#include "foundation/text_search.h"

#include "foundation/utf8.h"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/uchar.h>
#include <unicode/uloc.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace vossel {

namespace {

// Eight bytes of a text at once, the first one lowest.
using Lanes = std::uint64_t;
static_assert(std::endian::native == std::endian::little);
constexpr Lanes everyLane = 0x0101010101010101;

constexpr char foldAscii(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
}

// By byte; [1] for languages with a dotless i, whose capital is ASCII's: there "I" stays as it is.
constexpr auto foldOfAscii = [] {
    std::array<std::array<char, 256>, 2> tables{};
    for (std::size_t byte = 0; byte < 256; ++byte)
        tables[0][byte] = tables[1][byte] = foldAscii(static_cast<char>(byte));
    tables[1]['I'] = 'I';
    return tables;
}();

// Finds one folded ASCII character among eight bytes, a letter in either case.
class LaneMatcher {
public:
    explicit LaneMatcher(char folded)
        : wanted_(everyLane * static_cast<unsigned char>(folded))
        , ignored_(folded >= 'a' && folded <= 'z' ? everyLane * 0x20 : 0)
    {
    }

    // Has the top bit of each lane that matches, and no other. Only for bytes below 0x80: there no
    // subtraction borrows from the next lane.
    [[nodiscard]] Lanes in(const char* bytes) const
    {
        Lanes lanes;
        std::memcpy(&lanes, bytes, sizeof lanes);
        return (everyLane * 0x80 - ((lanes | ignored_) ^ wanted_)) & everyLane * 0x80;
    }

private:
    Lanes wanted_;
    Lanes ignored_; // the bit that tells the cases apart
};

// The library counts in 32 bits, and folding makes text longer. Nobody reads names of that length.
constexpr std::size_t maxBytes = std::size_t{16} * 1024 * 1024;

void checkOutcome(UErrorCode outcome)
{
    if (U_FAILURE(outcome)) // out of memory, or its data are not there
        throw std::runtime_error(u_errorName(outcome));
}

// Has `write(units, capacity, outcome)` write into `buffer`, which grows where it has to.
template <class Write>
std::u16string_view written(std::u16string& buffer, const Write& write)
{
    auto outcome = U_ZERO_ERROR;
    auto length = write(buffer.data(), static_cast<std::int32_t>(buffer.size()), outcome);
    if (outcome == U_BUFFER_OVERFLOW_ERROR) {
        buffer.resize(static_cast<std::size_t>(length));
        outcome = U_ZERO_ERROR;
        length = write(buffer.data(), length, outcome);
    }
    checkOutcome(outcome);
    return {buffer.data(), static_cast<std::size_t>(length)};
}

const UNormalizer2* normalizer(const UNormalizer2* (*instance)(UErrorCode*))
{
    auto outcome = U_ZERO_ERROR;
    const auto* const found = instance(&outcome);
    checkOutcome(outcome);
    return found;
}

bool hasDotlessI(const std::string& locale)
{
    std::array<char, ULOC_LANG_CAPACITY> language{};
    auto outcome = U_ZERO_ERROR;
    uloc_getLanguage(locale.empty() ? nullptr : locale.c_str(), language.data(),
        static_cast<std::int32_t>(language.size()), &outcome);
    const std::string_view name(language.data());
    return U_SUCCESS(outcome) && (name == "tr" || name == "az");
}

bool beginsWithMark(std::u16string_view text)
{
    if (text.empty())
        return false;
    UChar32 first = 0;
    U16_GET(text.data(), 0, 0, text.size(), first);
    return (U_GET_GC_MASK(first) & U_GC_M_MASK) != 0;
}

}

std::string caseFolded(std::string_view text)
{
    std::string folded;
    if (isAscii(text)) {
        folded.resize(text.size());
        std::transform(text.begin(), text.end(), folded.begin(), foldAscii);
        return folded;
    }
    auto valid = toValidUtf8(text); // the library would keep what is invalid
    if (valid.size() > maxBytes)
        return valid;
    const auto length = static_cast<std::int32_t>(valid.size());
    icu::StringByteSink<std::string> sink(&folded, length);
    auto outcome = U_ZERO_ERROR;
    icu::CaseMap::utf8Fold(0, {valid.data(), length}, sink, nullptr, outcome);
    checkOutcome(outcome);
    return folded;
}

TextSearch::TextSearch(std::string_view needle, std::string_view locale)
    : dotlessI_(hasDotlessI(std::string(locale)))
    , needle_(normalised(needle.substr(0, maxBytes)))
{
    for (const auto unit : needle_) {
        const bool dotless = dotlessI_ && unit == u'\u0131';
        if (unit >= 0x80 && !dotless) {
            asciiNeedle_.clear();
            break;
        }
        asciiNeedle_ += dotless ? 'I' : static_cast<char>(unit);
    }
}

bool TextSearch::foundIn(std::string_view text) const
{
    if (needle_.empty())
        return true;
    if (isAscii(text))
        return !asciiNeedle_.empty() && foundInAscii(text);
    if (text.size() > maxBytes)
        return false;
    const auto searched = normalised(text);
    for (auto at = searched.find(needle_); at != std::u16string_view::npos;
         at = searched.find(needle_, at + 1)) {
        if (!beginsWithMark(searched.substr(at + needle_.size())))
            return true;
    }
    return false;
}

bool TextSearch::foundInAscii(std::string_view text) const
{
    const std::string_view needle = asciiNeedle_;
    if (text.size() < needle.size())
        return false;
    const auto& fold = foldOfAscii[dotlessI_ ? 1 : 0];
    const auto standsAt = [&](std::size_t at) {
        return std::equal(
            needle.begin(), needle.end(), text.data() + at, [&fold](char wanted, char byte) {
                return fold[static_cast<unsigned char>(byte)] == wanted;
            });
    };
    const std::size_t starts = text.size() - needle.size() + 1;
    if (starts < sizeof(Lanes)) {
        std::size_t at = 0;
        while (at < starts && !standsAt(at))
            ++at;
        return at < starts;
    }
    // Both ends of the needle, eight places at once; the last eight may overlap those before.
    const LaneMatcher first(needle.front());
    const LaneMatcher last(needle.back());
    for (std::size_t at = 0;; at = std::min(at + sizeof(Lanes), starts - sizeof(Lanes))) {
        const auto begun = first.in(text.data() + at);
        const auto ended = last.in(text.data() + at + needle.size() - 1);
        for (auto hits = begun & ended; hits != 0; hits &= hits - 1) {
            if (standsAt(at + static_cast<std::size_t>(std::countr_zero(hits)) / 8))
                return true;
        }
        if (at + sizeof(Lanes) == starts)
            return false;
    }
}

std::u16string_view TextSearch::normalised(std::string_view text) const
{
    const auto bytes = static_cast<std::int32_t>(text.size());
    std::u16string_view units;
    // Each step reads the buffer that the step before wrote, and writes the other.
    std::size_t next = 0;
    const auto step = [this, &units, &next](const auto& convert) {
        auto& buffer = buffers_.at(next);
        units = written(buffer, [&](char16_t* target, std::int32_t room, UErrorCode& outcome) {
            return convert(
                target, room, units.data(), static_cast<std::int32_t>(units.size()), &outcome);
        });
        next = 1 - next;
    };
    const auto normalise = [&step](const UNormalizer2* form) {
        step([form](auto* target, auto room, const auto* source, auto length, auto* outcome) {
            return unorm2_normalize(form, source, length, target, room, outcome);
        });
    };
    static const auto* const decomposed = normalizer(unorm2_getNFDInstance);
    static const auto* const composed = normalizer(unorm2_getNFCInstance);

    step([text, bytes](auto* target, auto room, const auto*, auto, auto* outcome) {
        std::int32_t length = 0;
        u_strFromUTF8WithSub(target, room, &length, text.data(), bytes, 0xFFFD, nullptr, outcome);
        return length;
    });
    normalise(decomposed);
    // Folding alone, even the kind made for these languages, leaves the dot of a capital i behind
    // as a mark of its own once it is taken apart; lowering takes it away. No I is left to fold.
    if (dotlessI_) {
        step([](auto* target, auto room, const auto* source, auto length, auto* outcome) {
            return u_strToLower(target, room, source, length, "tr", outcome);
        });
    }
    step([](auto* target, auto room, const auto* source, auto length, auto* outcome) {
        return u_strFoldCase(target, room, source, length, U_FOLD_CASE_DEFAULT, outcome);
    });
    normalise(composed);
    return units;
}

}
