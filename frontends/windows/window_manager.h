#pragma once

class QWindow;

namespace vossel {

// What a window asks of the window manager beyond what Qt knows. Where there is no X server nothing
// happens: such systems leave the place of a window to themselves. Main thread.

// Before it is shown.
void showOnEveryWorkspace(QWindow& window);
// A shown window: above all others, or among them.
void keepAbove(QWindow& window, bool above);

}
