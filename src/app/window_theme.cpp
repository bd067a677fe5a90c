#include "app/window_theme.h"

namespace vossel {

void applyWindowTheme(Window& window)
{
    window.update([](WindowState& state) {
        state.contentEffect = ContentEffect{};
        state.styleMask |= fullSizeContentView;
        state.appearance = Appearance::VibrantLight;
        state.titleBarTransparent = true;
    });
}

}
