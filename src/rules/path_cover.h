#pragma once

#include <cstdint>
#include <string_view>

// Which paths a rule is about; the driver's answers mean the same. Paths are bytes, and a
// folder's ends in "/". What "~/" stands for must have been put in its place before.

namespace vossel {

enum class PathKind {
    None, // no path
    Any, // every path, whatever the text
    Exact, // the text alone
    Prefix, // whatever begins with the text: "/a/b" is about "/a/bc" too
    Suffix, // whatever ends in the text
};

[[nodiscard]] bool coversPath(PathKind kind, std::string_view text, std::string_view path);

// What a rule of this PolicyType says with its path: "" and "any" are every path, whatever the
// type, and a type of no meaning is none.
[[nodiscard]] PathKind pathKindOfRule(std::int32_t policyType, std::string_view path);

}
