#pragma once

#include "ui/controls/control.h"

namespace vossel {

struct ProgressIndicatorState {
    double minValue = 0;
    double maxValue = 100; // the bar is full
    double doubleValue = 0;
    bool hidden = false;
    bool indeterminate = true; // how far it is cannot be told
    bool usesThreadedAnimation = false; // moves on while the main thread is busy
    bool animating = false;

    bool operator==(const ProgressIndicatorState&) const = default;
};

// A bar that fills.
class ProgressIndicator : public Control<ProgressIndicatorState> {
public:
    using Control::Control;

    [[nodiscard]] double doubleValue() const { return state().doubleValue; }
    [[nodiscard]] double maxValue() const { return state().maxValue; }
    [[nodiscard]] bool hidden() const { return state().hidden; }

    void setDoubleValue(double value) { set(&ProgressIndicatorState::doubleValue, value); }
    void setHidden(bool hidden) { set(&ProgressIndicatorState::hidden, hidden); }
    void setIndeterminate(bool indeterminate)
    {
        set(&ProgressIndicatorState::indeterminate, indeterminate);
    }
    void setUsesThreadedAnimation(bool threaded)
    {
        set(&ProgressIndicatorState::usesThreadedAnimation, threaded);
    }
    void setAnimating(bool animating) { set(&ProgressIndicatorState::animating, animating); }
};

}
