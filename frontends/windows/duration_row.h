#pragma once

#include "frontends/windows/press_button.h"
#include "ui/prompt/prompt_view.h"

#include <QWidget>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>

namespace vossel {

// The row of durations of which one is chosen. It shows what the view model says and keeps no
// choice of its own. Main thread.
class DurationRow final : public QWidget {
public:
    // `chosen` gives what a press of the button of a duration's code does.
    DurationRow(
        const PromptTheme& theme, const std::function<PressButton::Act(std::int32_t code)>& chosen);

    void display(const PromptView& view);

private:
    std::array<std::unique_ptr<PressButton>, DURATION_FOREVER + 1> buttons_; // by code
};

}
