#pragma once

#include "app/user_interface.h"
#include "foundation/result.h"
#include "platform/window_platform.h"

#include <functional>

namespace vossel {

// The user sits at a desktop. Builds without windows have this too, and say that there are none.

// Where windows can be shown, or why they cannot.
[[nodiscard]] Result<WindowPlatform> windowPlatformHere();

// Runs `serve` with the interface while there is an application of that window system; returns its
// exit status.
[[nodiscard]] int withWindows(WindowPlatform platform, int argc, char** argv,
    const std::function<int(const UserInterface::Factory&)>& serve);

}
