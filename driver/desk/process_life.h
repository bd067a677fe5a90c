#pragma once

#include <cstdint>
#include <functional>

namespace vossel {

// Whether a process still lives, asked as often as wanted and never fooled by its number being used
// again. `startTime` is readStartTime()'s; where the process is gone already, or is another one,
// the answer is false from the start. Holds one descriptor.
[[nodiscard]] std::function<bool()> whileProcessLives(
    std::int32_t process, std::uint64_t startTime);

// Whether the thread is one of the process's.
[[nodiscard]] bool isThreadOf(std::int32_t process, std::int32_t thread);

}
