#pragma once

#include "foundation/result.h"
#include "programs/user_interface.h"

#include <functional>
#include <string>

namespace vossel {

// The user sits at a desktop. Builds without windows have this too, and say that there are none.

// Where windows can be shown: Qt's name for the window system, or why there is none.
[[nodiscard]] Result<std::string> windowPlatformHere();

// Runs `serve` with the interface while there is an application of that window system; returns its
// exit status.
[[nodiscard]] int withWindows(const std::string& platform, int argc, char** argv,
    const std::function<int(const UserInterface::Factory&)>& serve);

}
