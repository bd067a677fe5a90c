#pragma once

#include "ui/controls/window.h"

namespace vossel {

// The look of the application's own windows: light and translucent, up to behind the title bar.
void applyWindowTheme(Window& window);

}
