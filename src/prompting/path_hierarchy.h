#pragma once

#include "wire/driver_messages.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vossel {

// The path choices of an advanced prompt, in display order.
struct PathHierarchy {
    std::vector<std::string> choices;
    // Always an entry of the list; -1 for an empty list.
    std::int64_t recommendedPathIndex = -1;

    bool operator==(const PathHierarchy&) const = default;
};

struct PathHierarchyFacts {
    std::string_view homeDirectory; // without a trailing "/"
    bool userIsAdmin = false;
    bool simpleModeOverride = false; // the user came here from the simple prompt
};

// Offers the file's extension, its exact path and its folders from the innermost to the root, and
// recommends one by where applications keep their data. Linear in the length of the path.
[[nodiscard]] PathHierarchy constructPathHierarchy(
    const policy_query& query, const PathHierarchyFacts& facts);

// The acting program's path, without what follows " (-"; may be empty.
[[nodiscard]] std::string manicureAppPathForQuery(const policy_query& query);

// The acting program's name, "NAME via PARENT" where it has a parent; "unknown program" stands for
// a program whose path could not be read.
[[nodiscard]] std::string manicureDisplayPathForQuery(const policy_query& query);

}
