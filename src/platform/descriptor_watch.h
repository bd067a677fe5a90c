#pragma once

#include <functional>
#include <memory>

namespace vossel {

// Watches a descriptor: calls `readable` on the main thread whenever `fd` has something to read or
// was hung up, until the returned handle is destroyed, which `readable` itself may do. Main thread
// only; the descriptor must stay open as long as the handle lives.
using WatchDescriptor
    = std::function<std::shared_ptr<void>(int fd, std::function<void()> readable)>;

}
