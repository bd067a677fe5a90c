#pragma once

#include <cstdint>

struct xcb_connection_t;

namespace vossel {

// What a window asks of an X server's window manager. `window` is the number of the server's.

// Before it is shown.
void showOnEveryWorkspace(xcb_connection_t* server, std::uint32_t window);
// A shown window: above all others, or among them.
void keepAbove(xcb_connection_t* server, std::uint32_t window, bool above);

}
