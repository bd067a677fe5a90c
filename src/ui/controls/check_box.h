#pragma once

#include "ui/controls/control.h"

namespace vossel {

struct CheckBoxState {
    bool checked = false;
    bool enabled = true;
    bool hidden = false;

    bool operator==(const CheckBoxState&) const = default;
};

class CheckBox : public Control<CheckBoxState> {
public:
    using Control::Control;

    [[nodiscard]] bool checked() const { return state().checked; }
    [[nodiscard]] bool enabled() const { return state().enabled; }
    [[nodiscard]] bool hidden() const { return state().hidden; }

    void setChecked(bool checked) { set(&CheckBoxState::checked, checked); }
    void setEnabled(bool enabled) { set(&CheckBoxState::enabled, enabled); }
    void setHidden(bool hidden) { set(&CheckBoxState::hidden, hidden); }
};

}
