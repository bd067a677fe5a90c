#pragma once

#include "ui/prompt/input_event.h"

class QKeyEvent;

namespace vossel {

// Qt's keys in the product's own numbers. Control stands for Command: window managers keep the key
// with the desktop's sign to themselves.

[[nodiscard]] bool isModifierKey(const QKeyEvent& event);
// Of a key that is none.
[[nodiscard]] KeyEvent toKeyEvent(const QKeyEvent& event, const EventSource& source);
[[nodiscard]] bool isArrow(const KeyEvent& event);

}
