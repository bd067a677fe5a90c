#pragma once

#include "foundation/files.h"

#include <cstdint>
#include <functional>

namespace vossel {

// A descriptor that stands for the process and becomes readable when that has ended
// (pidfd_open(2)). Empty when there is no such process; errno gives the reason.
[[nodiscard]] UniqueFd openProcess(std::int32_t process);

// Whether a process still lives, asked as often as wanted and never fooled by its number being used
// again. `startTime` is readStartTime()'s; where the process is gone already, or is another one,
// the answer is false from the start. Holds one descriptor.
[[nodiscard]] std::function<bool()> whileProcessLives(
    std::int32_t process, std::uint64_t startTime);

// Whether the thread is one of the process's.
[[nodiscard]] bool isThreadOf(std::int32_t process, std::int32_t thread);

}
