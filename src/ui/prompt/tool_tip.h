#pragma once

#include "platform/timers.h"
#include "ui/controls/text_field.h"
#include "ui/controls/window.h"

#include <vector>

namespace vossel {

class WindowSystem;

// Shows the whole text of a field, which may be truncated, one second after the mouse has come to
// rest on it. Main thread only; owned by the prompt whose window and fields it refers to.
class ToolTip {
public:
    // The first of the fields that lies under the mouse is shown.
    ToolTip(Timers& timers, const WindowSystem& windows, Window& window,
        std::vector<const TextField*> fields);
    ~ToolTip() { cancelPending(); }
    ToolTip(const ToolTip&) = delete;
    ToolTip& operator=(const ToolTip&) = delete;

    // `location` is in the window.
    void mouseMoved(Point location);
    void cancelPending();
    // Takes a shown tip away and cancels a pending one.
    void remove();

private:
    void displayToolTip(Point location);

    Timers& timers_;
    const WindowSystem& windows_;
    Window& window_;
    const std::vector<const TextField*> fields_;
    Timers::Timer pending_ = 0;
};

}
