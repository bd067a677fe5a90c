#pragma once

#include "foundation/text_hash.h"
#include "rules/store/rule_groups.h"

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

namespace vossel {

// Merges what a fail-safe log recorded of one application into rules for folders. A new rule walks
// the group in order, and the first rule E there that fits ends it:
//
//  - E is already the new rule's rule for the whole folder, or equal to it: the new rule is
//  dropped;
//  - E lies in the same folder, and neither is the folder or the other's path: E takes the folder
//    as its path (class, type and operations stay), and the new rule is dropped.
//
// A path that begins with ":" is not merged, only compared. Found by look-up instead of walking, so
// that a long log takes no longer than its length. One thread; the group outlives it and is not
// changed by others meanwhile.
class FailsafeMerge {
public:
    // The texts of merged rules lie in the arena.
    FailsafeMerge(RuleGroup& group, Arena& arena);

    // Whether the group covers the new rule, after merging.
    [[nodiscard]] bool absorbs(const PolicyRule& rule);
    // For a rule that was not absorbed.
    void append(PolicyRule& rule);

private:
    // The places of rules in the group, in their order.
    using Places = std::set<std::size_t>;
    using Index = std::unordered_map<std::string, Places, TextHash, std::equal_to<>>;

    void enter(std::size_t place);
    void remove(std::size_t place);

    [[nodiscard]] std::size_t firstBeside(const std::string& folder, std::string_view path) const;

    RuleGroup& group_;
    Arena& arena_;
    Index byRule_; // by all that makes rules equal
    Index byPath_;
    Index firstOfPaths_; // by folder: of the rules with the same path the first
};

}
