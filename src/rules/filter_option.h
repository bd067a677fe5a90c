#pragma once

#include <cstdint>
#include <string>

namespace vossel {

// A named number that steers the system, such as "policy.global.user".
struct FilterOption {
    std::uint32_t value = 0;
    std::string name;

    bool operator==(const FilterOption&) const = default;
};

}
