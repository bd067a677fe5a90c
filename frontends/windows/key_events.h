#pragma once

#include "ui/prompt/input_event.h"

class QKeyEvent;

namespace vossel {

// Qt's keys in the product's own numbers. Control stands for Command: window managers keep the key
// with the desktop's sign to themselves.

[[nodiscard]] bool isModifierKey(const QKeyEvent& event);
// The event must not be that of a modifier key.
[[nodiscard]] KeyEvent toKeyEvent(const QKeyEvent& event, const EventSource& source);
[[nodiscard]] bool isArrow(const KeyEvent& event);

}
