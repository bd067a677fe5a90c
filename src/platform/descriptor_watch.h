#pragma once

#include <functional>
#include <memory>

namespace vossel {

// How to hear of a descriptor: calls `readable` on the main thread whenever `fd` has something to
// read, or is hung up, until the returned handle goes; that may happen from within the call. Main
// thread only; the descriptor stays open as long as the handle.
using WatchDescriptor
    = std::function<std::shared_ptr<void>(int fd, std::function<void()> readable)>;

}
