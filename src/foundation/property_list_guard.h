#pragma once

#include "foundation/result.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

// What the property list library does not look at. Given shared or deeply nested values it runs out
// of memory or stack before it returns, values that it cannot read it takes for 0 or nothing, and
// of two equal keys it drops one. So the bytes are looked over first; nothing is decoded here. For
// property_list.cpp only.

namespace vossel {

// Values in one list, each shared one counted as often as it occurs.
inline constexpr std::size_t mostPropertyListValues = 1'000'000;

// The squares of the dictionaries' sizes, added up: so often the library compares keys, whose
// hashes are easily made to collide.
inline constexpr std::uint64_t mostPropertyListKeyPairs = 100'000'000;

struct PropertyListShape {
    // Keys of all dictionaries together.
    std::size_t keys = 0;
};

// The nesting, the number of values, the grammar of elements and the text of each number, date and
// data. What remains for the library: entities, base64 and the tree.
Result<PropertyListShape> checkXmlPropertyList(std::string_view bytes);

// The object table from the root on: bounds, kinds, cycles, nesting, and the size with every shared
// value written out.
Result<PropertyListShape> checkBinaryPropertyList(std::string_view bytes);

// Dates that the library's 32 bits of seconds hold: from December 1932 to January 2069.
[[nodiscard]] bool isPropertyListDate(double seconds);

}
