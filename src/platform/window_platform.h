#pragma once

#include <memory>
#include <string>

namespace vossel {

// A window system that windows can be shown on.
struct WindowPlatform {
    std::string name; // as the toolkit calls it
    // Held until the toolkit has a connection of its own, because a display server may reset
    // itself when its last connection ends.
    std::shared_ptr<void> connection{};
};

}
