#pragma once

#include <functional>
#include <memory>

namespace vossel {

// A WatchDescriptor on Qt's main loop.
[[nodiscard]] std::shared_ptr<void> watchDescriptor(int fd, std::function<void()> readable);

}
