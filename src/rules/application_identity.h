#pragma once

#include <optional>
#include <string>
#include <string_view>

// Which application a rule belongs to, read from its process name. Matching is exact; case counts.
//
//   any                          any process
//   PROGRAM                      that program
//   PROGRAM via /PARENT          that program when started by that parent
//   PROGRAM via any              that program with any parent
//   any via PARENT               any process started by that parent
//   any ancestor ANCESTOR        any process that has that ancestor
//   PROGRAM (-ANYTHING           what begins with " (-" is a decoration
//
// The program part ends before the first " via /", or before a final " via any" where there is
// none; the parent part follows. So "any via /PARENT" is the program "any" with a parent.

namespace vossel {

class PolicyRule;
class Rule;

// What people are shown: the program's file name, "Any Process", "Any Process via NAME",
// "Any Process with ancestor NAME".
[[nodiscard]] std::string applicationNameForRule(const Rule& rule);

// Rules with the same one belong together. It begins with the program's file name, so that groups
// sort by it.
[[nodiscard]] std::string applicationGroupIdentityForRule(const PolicyRule& rule);
[[nodiscard]] std::string applicationGroupIdentity(
    std::string_view processName, std::string_view constraint);

// The program part without decoration.
[[nodiscard]] std::string applicationPathForRule(const Rule& rule);

// The parent part and its last component.
[[nodiscard]] std::optional<std::string> applicationParentPathForRule(const Rule& rule);
[[nodiscard]] std::optional<std::string> applicationParentNameForRule(const Rule& rule);

// The program part up to its first ".app" folder; the program part, decoration and all, where it
// lies in none.
[[nodiscard]] std::string applicationBundlePathForPath(std::string_view processName);
[[nodiscard]] std::string applicationBundlePathForRule(const Rule& rule);

}
