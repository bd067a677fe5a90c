#include "ui/prompt/tool_tip.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace vossel {

namespace {

constexpr std::chrono::seconds restBeforeTip{1};
// From the mouse to the tip's upper left corner, so that the pointer does not hide it.
constexpr double rightOfMouse = 10;
constexpr double belowMouse = 5;
constexpr double tipAlpha = 0.8;

}

ToolTip::ToolTip(Timers& timers, const WindowSystem& windows, Window& window,
    std::vector<const TextField*> fields)
    : timers_(timers)
    , windows_(windows)
    , window_(window)
    , fields_(std::move(fields))
{
}

void ToolTip::mouseMoved(Point location)
{
    remove();
    pending_ = timers_.once(restBeforeTip, [this, location] {
        pending_ = 0;
        displayToolTip(location);
    });
}

void ToolTip::cancelPending()
{
    timers_.cancel(std::exchange(pending_, 0));
}

void ToolTip::remove()
{
    cancelPending();
    window_.update([](WindowState& state) { state.tip.reset(); });
}

void ToolTip::displayToolTip(Point location)
{
    const auto under = std::find_if(fields_.begin(), fields_.end(),
        [location](const TextField* field) { return field->frame().contains(location); });
    if (under == fields_.end())
        return;
    TextField text(TextFieldState{.stringValue = (*under)->stringValue()});
    text.sizeToFit(windows_);
    const Rect size = text.frame();
    window_.update([&](WindowState& state) {
        state.tip = TipWindow{
            .text = text.stringValue(),
            .frame = {location.x + rightOfMouse + state.frame.x,
                location.y - belowMouse + state.frame.y - size.height, size.width, size.height},
            .textAlpha = tipAlpha,
            .level = WindowLevel::Maximum,
        };
    });
}

}
