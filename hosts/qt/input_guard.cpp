#include "hosts/qt/input_guard.h"

#include "hosts/qt/key_events.h"
#include "hosts/qt/prompt_dialog.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>

#include <utility>

namespace vossel {

namespace {

// A list that a prompt has opened, and the strip below it, are windows of their own.
PromptDialog* promptOf(QObject& object)
{
    for (auto* widget = qobject_cast<QWidget*>(&object); widget; widget = widget->parentWidget()) {
        if (auto* prompt = dynamic_cast<PromptDialog*>(widget))
            return prompt;
    }
    return nullptr;
}

// As the X protocol numbers them.
std::uint32_t numberOf(Qt::MouseButton button)
{
    switch (button) {
    case Qt::LeftButton:
        return 1;
    case Qt::MiddleButton:
        return 2;
    case Qt::RightButton:
        return 3;
    case Qt::BackButton:
        return 8;
    case Qt::ForwardButton:
        return 9;
    default:
        return 0;
    }
}

}

InputGuard::InputGuard(InputOrigins& origins, EventTimes times, std::function<void()> sound)
    : origins_(origins)
    , times_(times)
    , sound_(std::move(sound))
{
    qApp->installEventFilter(this);
}

InputGuard::~InputGuard()
{
    qApp->removeEventFilter(this);
}

bool InputGuard::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        if (const PromptDialog* prompt = promptOf(*watched))
            return dropsClick(*prompt, *static_cast<QMouseEvent*>(event));
        return false;
    case QEvent::KeyPress:
        if (PromptDialog* prompt = promptOf(*watched))
            return dropsKey(
                *prompt, *static_cast<QWidget*>(watched), *static_cast<QKeyEvent*>(event));
        return false;
    case QEvent::MouseMove:
        if (PromptDialog* prompt = promptOf(*watched))
            prompt->mouseMovedTo(static_cast<QMouseEvent*>(event)->globalPosition());
        return false;
    default:
        return false;
    }
}

bool InputGuard::dropsClick(const PromptDialog& prompt, const QMouseEvent& event)
{
    const InputOrigins::Time time = timeOf(event);
    if (!prompt.isArmed(time)) {
        sound_();
        return true;
    }
    return !prompt.takesClick(
        origins_.sourceOf({InputOrigins::Kind::Button, numberOf(event.button()), time}));
}

// The prompt's own window asks by itself whether a program pressed the key; a list does not.
bool InputGuard::dropsKey(PromptDialog& prompt, const QWidget& target, const QKeyEvent& event)
{
    if (isModifierKey(event))
        return false;
    const InputOrigins::Time time = timeOf(event);
    if (!prompt.isArmed(time)) {
        if (!event.isAutoRepeat())
            sound_();
        return true;
    }
    const EventSource source
        = origins_.sourceOf({InputOrigins::Kind::Key, event.nativeScanCode(), time});
    if (&target != &prompt)
        return !prompt.takesKey(source);
    prompt.setKeySource(source);
    return false;
}

InputOrigins::Time InputGuard::timeOf(const QInputEvent& event)
{
    return times_ == EventTimes::OfWindowSystem ? static_cast<InputOrigins::Time>(event.timestamp())
                                                : origins_.now();
}

}
