#pragma once

#include "ui/controls/control.h"

#include <cstdint>
#include <string>

namespace vossel {

struct ButtonState {
    std::string title{};
    std::int32_t tag = 0;
    bool hidden = false;
    bool on = false; // of a radio-style button: this one is chosen
    bool highlighted = false;

    bool operator==(const ButtonState&) const = default;
};

// A button, a radio-style choice, or a button used as a label. A click on it is a call on the view
// model that owns it.
class Button : public Control<ButtonState> {
public:
    using Control::Control;

    [[nodiscard]] const std::string& title() const { return state().title; }
    [[nodiscard]] std::int32_t tag() const { return state().tag; }
    [[nodiscard]] bool hidden() const { return state().hidden; }
    [[nodiscard]] bool on() const { return state().on; }
    [[nodiscard]] bool highlighted() const { return state().highlighted; }

    void setTitle(std::string title) { set(&ButtonState::title, std::move(title)); }
    void setHidden(bool hidden) { set(&ButtonState::hidden, hidden); }
    void setOn(bool on) { set(&ButtonState::on, on); }
    void setHighlighted(bool highlighted) { set(&ButtonState::highlighted, highlighted); }
};

}
