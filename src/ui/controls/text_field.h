#pragma once

#include "ui/controls/control.h"
#include "ui/controls/geometry.h"

#include <string>

namespace vossel {

class WindowSystem;

enum class Truncation { None, Middle, Tail };
enum class TextAlignment { Natural, Left };

struct TextFieldState {
    std::string stringValue{}; // bytes; whoever shows them makes them valid UTF-8
    Truncation truncation = Truncation::None;
    TextAlignment alignment = TextAlignment::Natural;
    float fontSize = 13; // points
    Rect frame{};
    bool hidden = false;

    bool operator==(const TextFieldState&) const = default;
};

// A text that the user reads.
class TextField : public Control<TextFieldState> {
public:
    using Control::Control;

    [[nodiscard]] const std::string& stringValue() const { return state().stringValue; }
    [[nodiscard]] Truncation truncation() const { return state().truncation; }
    [[nodiscard]] TextAlignment alignment() const { return state().alignment; }
    [[nodiscard]] float fontSize() const { return state().fontSize; }
    [[nodiscard]] const Rect& frame() const { return state().frame; }
    [[nodiscard]] bool hidden() const { return state().hidden; }

    void setStringValue(std::string text) { set(&TextFieldState::stringValue, std::move(text)); }
    void setTruncation(Truncation where) { set(&TextFieldState::truncation, where); }
    void setAlignment(TextAlignment alignment) { set(&TextFieldState::alignment, alignment); }
    void setFontSize(float points) { set(&TextFieldState::fontSize, points); }
    void setFrame(const Rect& frame) { set(&TextFieldState::frame, frame); }
    void setHidden(bool hidden) { set(&TextFieldState::hidden, hidden); }

    // The frame takes the size of the text at the current font; its origin stays.
    void sizeToFit(const WindowSystem& windows);
};

}
