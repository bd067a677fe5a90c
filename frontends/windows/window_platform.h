#pragma once

#include "foundation/result.h"
#include "platform/window_platform.h"

namespace vossel {

// Says where windows can be shown, or why they cannot; asked before any part of Qt's windows is
// made, which would end the program where they cannot. An X server comes before a Wayland
// compositor, which neither keeps a window above others nor tells who pressed a key; what
// QT_QPA_PLATFORM names comes before both.
[[nodiscard]] Result<WindowPlatform> windowPlatform();

}
