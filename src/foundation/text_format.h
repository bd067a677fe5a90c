#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace vossel {

// Replaces each "%@" by the next argument, in order. A "%@" without an argument is left standing,
// spare arguments are ignored; an argument's own "%@" is never expanded.
[[nodiscard]] std::string formatText(
    std::string_view format, std::initializer_list<std::string_view> arguments);

}
