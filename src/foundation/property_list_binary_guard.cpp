#include "foundation/property_list.h"
#include "foundation/property_list_guard.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>

namespace vossel {

namespace {

constexpr std::size_t headerSize = 8;
constexpr std::size_t trailerSize = 32;
// What a value costs beside its bytes, so that one budget bounds both.
constexpr std::uint64_t valueCost = 64;
constexpr std::uint64_t maxCost = valueCost * maxPropertyListValues;

// The object table, checked depth first. Every step returns the reason why the list is refused, or
// an empty view.
class BinaryGuard {
public:
    explicit BinaryGuard(std::string_view bytes)
        : bytes_(bytes)
    {
    }

    std::string_view check();
    [[nodiscard]] PropertyListShape shape() const { return {objects_[root_].keys}; }

private:
    // One object with everything below it, shared values counted each time.
    struct Object {
        enum class State : std::uint8_t { Unseen, Open, Done } state = State::Unseen;
        int height = 0; // of containers
        std::uint64_t cost = valueCost;
        std::size_t keys = 0;
        std::uint64_t keyPairs = 0;
    };

    [[nodiscard]] std::uint64_t number(std::size_t at, std::size_t width) const
    {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < width; ++i)
            value = value << 8U | static_cast<unsigned char>(bytes_[at + i]);
        return value;
    }
    [[nodiscard]] bool fits(std::uint64_t at, std::uint64_t count, std::uint64_t width) const
    {
        return at <= table_ && count <= (table_ - at) / width;
    }
    std::string_view readTrailer();
    std::string_view visit(std::size_t index, int depth);
    std::string_view scalar(unsigned marker, std::size_t at) const;
    std::string_view counted(Object& object, unsigned marker, std::size_t at, int depth);
    std::string_view length(std::size_t& at, std::uint64_t& count) const;
    std::string_view text(std::size_t at, std::size_t units, std::size_t width) const;
    std::string_view container(
        Object& object, std::size_t at, std::size_t keys, std::size_t values, int depth);
    [[nodiscard]] bool isText(std::size_t index) const;

    std::string_view bytes_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::size_t root_ = 0;
    std::size_t table_ = 0; // where the offsets start: the end of the objects
    std::vector<Object> objects_;
};

std::string_view BinaryGuard::check()
{
    if (const auto refused = readTrailer(); !refused.empty())
        return refused;
    if (const auto refused = visit(root_, 1); !refused.empty())
        return refused;
    return objects_[root_].height > maxPropertyListDepth ? "nested too deep" : "";
}

std::string_view BinaryGuard::readTrailer()
{
    if (bytes_.size() <= headerSize + trailerSize || !bytes_.starts_with("bplist00"))
        return "cut short or of an unknown version";
    const auto trailer = bytes_.size() - trailerSize;
    offsetSize_ = number(trailer + 6, 1);
    referenceSize_ = number(trailer + 7, 1);
    const auto count = number(trailer + 8, 8);
    const auto root = number(trailer + 16, 8);
    const auto table = number(trailer + 24, 8);
    if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8)
        return "sizes that no list has";
    if (table < headerSize || table > trailer || count > (trailer - table) / offsetSize_
        || count > maxPropertyListValues || root >= count)
        return "an object table outside of the file";
    table_ = table;
    root_ = root;
    objects_.resize(count);
    return {};
}

std::string_view BinaryGuard::visit(std::size_t index, int depth)
{
    auto& object = objects_[index];
    if (object.state == Object::State::Open)
        return "a value that holds itself";
    if (object.state == Object::State::Done)
        return {};
    object.state = Object::State::Open;

    const auto offset = number(table_ + index * offsetSize_, offsetSize_);
    if (offset < headerSize || !fits(offset, 1, 1))
        return "an object outside of the file";
    std::size_t at = offset;
    const auto marker = static_cast<unsigned>(number(at++, 1));
    const auto refused = marker < 0x40 ? scalar(marker, at) : counted(object, marker, at, depth);
    object.state = Object::State::Done;
    return refused;
}

std::string_view BinaryGuard::counted(Object& object, unsigned marker, std::size_t at, int depth)
{
    enum Kind : unsigned { Data = 4, Ascii = 5, Utf16 = 6, Array = 0xA, Dictionary = 0xD };
    const auto kind = marker >> 4U;
    std::uint64_t count = marker & 0xFU;
    if (count == 0xF) {
        if (const auto refused = length(at, count); !refused.empty())
            return refused;
    }
    std::size_t width = 1;
    if (kind == Utf16)
        width = 2;
    else if (kind == Array || kind == Dictionary)
        width = referenceSize_ * (kind == Dictionary ? 2 : 1);
    if (!fits(at, count, width))
        return "a value outside of the file";
    switch (kind) {
    case Data:
        object.cost += count;
        return {};
    case Ascii:
    case Utf16:
        object.cost += count * width;
        return text(at, count, width);
    case Array:
        return container(object, at, 0, count, depth);
    case Dictionary:
        return container(object, at, count, count, depth);
    default:
        return "a value of an unknown kind";
    }
}

std::string_view BinaryGuard::scalar(unsigned marker, std::size_t at) const
{
    if (marker == 0x08 || marker == 0x09)
        return {};
    const bool known
        = (marker >= 0x10 && marker <= 0x13) || marker == 0x22 || marker == 0x23 || marker == 0x33;
    if (!known)
        return "a value of an unknown kind";
    const std::size_t width = std::size_t{1} << (marker & 0xFU);
    if (!fits(at, width, 1))
        return "a value outside of the file";
    if (marker == 0x33 && !isPropertyListDate(std::bit_cast<double>(number(at, width))))
        return "a date that is none or far away";
    return {};
}

// A count above 14 follows as an integer object.
std::string_view BinaryGuard::length(std::size_t& at, std::uint64_t& count) const
{
    if (!fits(at, 1, 1))
        return "a value outside of the file";
    const auto marker = static_cast<unsigned>(number(at++, 1));
    if (marker < 0x10 || marker > 0x13)
        return "a length that is none";
    const std::size_t width = std::size_t{1} << (marker & 0xFU);
    if (!fits(at, width, 1))
        return "a value outside of the file";
    count = number(at, width);
    at += width;
    return {};
}

// ASCII, or UTF-16 with its surrogates in pairs; a NUL would end the text in the library.
std::string_view BinaryGuard::text(std::size_t at, std::size_t units, std::size_t width) const
{
    bool lowDue = false;
    for (std::size_t i = 0; i < units; ++i) {
        const auto unit = number(at + i * width, width);
        const bool low = unit >= 0xDC00 && unit <= 0xDFFF;
        if (unit == 0 || (width == 1 && unit > 0x7F) || low != lowDue)
            return "a text that is none";
        lowDue = unit >= 0xD800 && unit <= 0xDBFF;
    }
    return lowDue ? "a text that is none" : "";
}

bool BinaryGuard::isText(std::size_t index) const
{
    const auto kind = number(number(table_ + index * offsetSize_, offsetSize_), 1) >> 4U;
    return kind == 5 || kind == 6;
}

// A dictionary's keys come first, then as many values.
std::string_view BinaryGuard::container(
    Object& object, std::size_t at, std::size_t keys, std::size_t values, int depth)
{
    // The recursion itself is bounded here; check() looks at the height, for values reached again
    // from further down are not visited again.
    if (depth > maxPropertyListDepth)
        return "nested too deep";
    object.height = 1;
    object.keys = keys;
    object.keyPairs = keys * keys;
    for (std::size_t i = 0; i < keys + values; ++i) {
        const auto child = number(at + i * referenceSize_, referenceSize_);
        if (child >= objects_.size())
            return "a reference outside of the file";
        if (const auto refused = visit(child, depth + 1); !refused.empty())
            return refused;
        if (i < keys && !isText(child))
            return "a key that is no text";
        const auto& below = objects_[child];
        object.height = std::max(object.height, below.height + 1);
        object.cost += below.cost;
        object.keys += below.keys;
        object.keyPairs += below.keyPairs;
        if (object.cost > maxCost || object.keyPairs > maxPropertyListKeyPairs)
            return "too many or too large values";
    }
    return {};
}

}

Result<PropertyListShape> checkBinaryPropertyList(std::string_view bytes)
{
    BinaryGuard guard(bytes);
    if (const auto refused = guard.check(); !refused.empty())
        return Failure{std::string(refused)};
    return guard.shape();
}

bool isPropertyListDate(double seconds)
{
    constexpr double farthest = std::numeric_limits<std::int32_t>::max();
    return seconds >= -farthest && seconds <= farthest;
}

}
