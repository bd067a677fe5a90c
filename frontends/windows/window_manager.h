#pragma once

class QWindow;

namespace vossel {

// What a window asks of the window manager beyond what Qt knows. Where there is no X server nothing
// happens: such systems leave the place of a window to themselves. Main thread.

// Call this before the window is shown.
void showOnEveryWorkspace(QWindow& window);
// Keeps a shown window above all others, or lets it stand among them again.
void keepAbove(QWindow& window, bool above);

}
