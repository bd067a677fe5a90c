#include "frontends/windows/key_events.h"

#include <QKeyEvent>

namespace vossel {

namespace {

constexpr std::uint16_t noKeyCode = 0xFFFF;

std::uint16_t keyCodeOf(int key)
{
    switch (key) {
    case Qt::Key_Left:
        return keyCodeLeftArrow;
    case Qt::Key_Right:
        return keyCodeRightArrow;
    case Qt::Key_Down:
        return keyCodeDownArrow;
    case Qt::Key_Up:
        return keyCodeUpArrow;
    case Qt::Key_Escape:
        return keyCodeEscape;
    default:
        return noKeyCode;
    }
}

// With Control held the text would be a control character; the key tells what it writes without.
std::string charactersOf(const QKeyEvent& event)
{
    const int key = event.key();
    if (key == Qt::Key_Return)
        return "\r";
    if (key == Qt::Key_Enter)
        return "\x03";
    if (key > 0x20 && key < 0x7F)
        return {static_cast<char>(key)};
    return {};
}

}

bool isModifierKey(const QKeyEvent& event)
{
    switch (event.key()) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Meta:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_CapsLock:
    case Qt::Key_NumLock:
    case Qt::Key_ScrollLock:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_Hyper_L:
    case Qt::Key_Hyper_R:
    case Qt::Key_Mode_switch:
    case Qt::Key_Multi_key:
        return true;
    default:
        // ISO's level and group switches, which have no name here.
        return event.key() >= 0x01000000 && event.nativeVirtualKey() >= 0xFE01
            && event.nativeVirtualKey() <= 0xFE0F;
    }
}

KeyEvent toKeyEvent(const QKeyEvent& event, const EventSource& source)
{
    KeyEvent key;
    key.keyCode = keyCodeOf(event.key());
    key.charactersIgnoringModifiers = charactersOf(event);
    if (event.modifiers().testFlag(Qt::ControlModifier))
        key.modifierFlags = commandKeyFlag;
    key.source = source;
    return key;
}

bool isArrow(const KeyEvent& event)
{
    return event.modifierFlags == 0 && event.keyCode >= keyCodeLeftArrow
        && event.keyCode <= keyCodeUpArrow;
}

}
