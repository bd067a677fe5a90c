#pragma once

#include <memory>
#include <string>

namespace vossel {

// A window system that windows can be shown on.
struct WindowPlatform {
    std::string name; // as the toolkit calls it
    // Kept until the toolkit has one of its own: a display server without any may begin anew.
    std::shared_ptr<void> connection{};
};

}
