#pragma once

#include "foundation/result.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace vossel {

// A property list value: what preferences, marker and ignore files are made of. A plain value type.
class PropertyList {
public:
    using Array = std::vector<PropertyList>;
    // Keys in the order of the file; a key occurs once.
    using Dictionary = std::vector<std::pair<std::string, PropertyList>>;
    struct Data {
        std::string bytes;
        bool operator==(const Data&) const = default;
    };
    // Seconds since 2001-01-01 00:00 UTC. Files keep whole ones, from December 1932 to January
    // 2069.
    struct Date {
        double seconds = 0;
        bool operator==(const Date&) const = default;
    };
    using Value
        = std::variant<bool, std::int64_t, double, std::string, Data, Date, Array, Dictionary>;

    PropertyList()
        : value(Dictionary{})
    {
    }
    template <class T>
    explicit PropertyList(T v)
        : value(std::move(v))
    {
    }

    [[nodiscard]] const Dictionary* dictionary() const { return std::get_if<Dictionary>(&value); }
    [[nodiscard]] const Array* array() const { return std::get_if<Array>(&value); }
    [[nodiscard]] const std::string* string() const { return std::get_if<std::string>(&value); }
    // The value under `key`; null when there is none or this is no dictionary.
    [[nodiscard]] const PropertyList* find(std::string_view key) const;
    // Sets or replaces a key; a value that is no dictionary becomes one.
    void set(std::string key, PropertyList item);

    // Numbers as they are (reals cut toward zero and to the range), true 1, false 0, a text by its
    // leading whitespace, sign and digits (cut to the range), everything else 0.
    [[nodiscard]] std::int64_t integerValue() const;
    // Numbers other than 0; a text whose first character after whitespace, sign and zeros is one of
    // Y, y, T, t, 1 to 9.
    [[nodiscard]] bool boolValue() const;

    bool operator==(const PropertyList&) const = default;

    Value value;
};

enum class PropertyListFormat { Xml, Binary };

// How deeply containers may be nested. Deeper lists are neither read nor written, because the
// library recurses.
inline constexpr int maxPropertyListDepth = 128;

// Both formats are recognised by their content. Fails on anything that is not wholly a property
// list, on integers beyond 64 signed bits, texts with a NUL and repeated keys, and beyond these:
// nesting as above, 10,000 keys (many large dictionaries: fewer in each), a million values (one
// that a binary file shares counts each time), 16 MiB.
Result<PropertyList> parsePropertyList(std::string_view bytes);
// As parsePropertyList, for a file.
Result<PropertyList> readPropertyList(const std::string& path);
// Fails on what would not read back the same: invalid UTF-8, a NUL, in XML any control character
// other than tab and line breaks, a date out of range, a repeated key, or more
// than parsePropertyList takes.
Result<std::string> writePropertyList(const PropertyList& list, PropertyListFormat format);

}
