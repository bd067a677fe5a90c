#pragma once

#include <cstdint>

struct xcb_connection_t;

namespace vossel {

// What a window asks of an X server's window manager. `window` is the number of the server's.

// Call this before the window is shown.
void showOnEveryWorkspace(xcb_connection_t* server, std::uint32_t window);
// Keeps a shown window above all others, or lets it stand among them again.
void keepAbove(xcb_connection_t* server, std::uint32_t window, bool above);

}
