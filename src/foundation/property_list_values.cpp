#include "foundation/property_list.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace vossel {

namespace {

std::int64_t integerFromReal(double real)
{
    using Limits = std::numeric_limits<std::int64_t>;
    constexpr double beyond = 9223372036854775808.0; // 2^63
    if (std::isnan(real))
        return 0;
    if (real >= beyond)
        return Limits::max();
    return real < -beyond ? Limits::min() : static_cast<std::int64_t>(real);
}

std::string_view withoutLeading(std::string_view text, std::string_view characters)
{
    return text.substr(std::min(text.find_first_not_of(characters), text.size()));
}

constexpr std::string_view whitespace = " \t\n\v\f\r";

std::int64_t integerFromText(std::string_view text)
{
    text = withoutLeading(text, whitespace);
    const bool negative = text.starts_with('-');
    if (text.starts_with("+") && !text.starts_with("+-"))
        text.remove_prefix(1);
    std::int64_t integer = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), integer);
    if (parsed.ec != std::errc::result_out_of_range)
        return integer;
    using Limits = std::numeric_limits<std::int64_t>;
    return negative ? Limits::min() : Limits::max();
}

bool truthFromText(std::string_view text)
{
    text = withoutLeading(text, whitespace);
    if (text.starts_with('+') || text.starts_with('-'))
        text.remove_prefix(1);
    text = withoutLeading(text, "0");
    static constexpr std::string_view yes = "YyTt123456789";
    return !text.empty() && yes.find(text.front()) != std::string_view::npos;
}

}

const PropertyList* PropertyList::find(std::string_view key) const
{
    if (const auto* entries = dictionary())
        for (const auto& [name, item] : *entries)
            if (name == key)
                return &item;
    return nullptr;
}

void PropertyList::set(std::string key, PropertyList item)
{
    if (!dictionary())
        value = Dictionary{};
    auto& entries = std::get<Dictionary>(value);
    for (auto& [name, old] : entries) {
        if (name == key) {
            old = std::move(item);
            return;
        }
    }
    entries.emplace_back(std::move(key), std::move(item));
}

std::int64_t PropertyList::integerValue() const
{
    if (const auto* integer = std::get_if<std::int64_t>(&value))
        return *integer;
    if (const auto* flag = std::get_if<bool>(&value))
        return *flag ? 1 : 0;
    if (const auto* real = std::get_if<double>(&value))
        return integerFromReal(*real);
    return string() ? integerFromText(*string()) : 0;
}

bool PropertyList::boolValue() const
{
    if (const auto* real = std::get_if<double>(&value))
        return *real != 0;
    return string() ? truthFromText(*string()) : integerValue() != 0;
}

}
