#pragma once

#include <cstdint>
#include <string_view>

// The titles through which a click on the operations button goes. A title that is none of them
// counts as "Read-Write".

namespace vossel {

// The title for a query's operation code.
[[nodiscard]] std::string_view operationsTitle(std::int32_t operation);
[[nodiscard]] std::string_view nextOperationsTitle(std::string_view title);
// The set of operation codes that a title stands for.
[[nodiscard]] std::int32_t operationsOfTitle(std::string_view title);

inline constexpr std::string_view readOnlyTitle = "Read Only";

}
