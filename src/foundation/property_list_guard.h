#pragma once

#include "foundation/result.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

// Checks what the property list library does not. Shared or deeply nested values make that run out
// of memory or stack; it takes values that it cannot read for 0 or nothing, and drops one of two
// equal keys. So the bytes are checked first; nothing is decoded here. For property_list.cpp only.

namespace vossel {

// How many values one list may have. A shared one counts as often as it occurs.
inline constexpr std::size_t maxPropertyListValues = 1'000'000;

// The sum of the squares of the dictionaries' sizes. The library may compare keys so often, because
// it is easy to make their hashes collide.
inline constexpr std::uint64_t maxPropertyListKeyPairs = 100'000'000;

struct PropertyListShape {
    // Keys of all dictionaries together.
    std::size_t keys = 0;
};

// The nesting, the number of values, the grammar of elements and the text of each number, date and
// data. What remains for the library: entities, base64 and the tree.
Result<PropertyListShape> checkXmlPropertyList(std::string_view bytes);

// The object table from the root on: bounds, kinds, cycles, nesting, and the size that the list
// has when every shared value is written out.
Result<PropertyListShape> checkBinaryPropertyList(std::string_view bytes);

// Dates that the library's 32 bits of seconds hold: from December 1932 to January 2069.
[[nodiscard]] bool isPropertyListDate(double seconds);

}
