#pragma once

#include <functional>
#include <memory>

namespace vossel {

// Calls `readable` on the main loop whenever `fd` has something to read, or is hung up, until the
// handle goes; that may happen from within the call. Main thread only; the descriptor stays open as
// long as the handle.
[[nodiscard]] std::shared_ptr<void> watchDescriptor(int fd, std::function<void()> readable);

}
