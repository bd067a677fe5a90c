#pragma once

#include "hosts/linux/system_root.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vossel {

// What the system call of a blocked thread wants of the file that it opens.
struct BlockedCall {
    std::int32_t operations = 0; // READ, WRITE or both; EXECUTE alone for a program start
    bool mayCreate = false; // the call creates the file when it is missing
    bool known = false; // false: the flags could not be seen, and both are assumed
};

// `text` is the content of /proc/TID/syscall (proc(5)), of a thread with this machine's own calling
// convention; anything that is not understood is taken as unknown. That holds for the opening calls
// of 32-bit programs too: none of their numbers opens a file in 64 bits.
[[nodiscard]] BlockedCall parseBlockedCall(std::string_view text);

// Reads and parses that text; `root` holds /proc.
[[nodiscard]] BlockedCall readBlockedCall(const SystemRoot& root, std::int32_t thread);

}
