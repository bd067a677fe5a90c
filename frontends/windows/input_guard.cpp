#include "frontends/windows/input_guard.h"

#include "frontends/windows/key_events.h"
#include "frontends/windows/prompt_dialog.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>

#include <utility>

namespace vossel {

namespace {

// A list that a prompt has opened, and the strip below it, are windows of their own.
PromptDialog* promptOf(QWindow& window)
{
    for (QWidget* widget = QWidget::find(window.winId()); widget; widget = widget->parentWidget()) {
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
    const QEvent::Type type = event->type();
    const bool isMouse = type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick
        || type == QEvent::MouseButtonRelease || type == QEvent::MouseMove;
    if (!watched->isWindowType()
        || !(isMouse || type == QEvent::KeyPress || type == QEvent::KeyRelease))
        return false;
    auto& window = *static_cast<QWindow*>(watched);
    PromptDialog* prompt = promptOf(window);
    if (!prompt)
        return false;
    if (type == QEvent::KeyPress)
        return dropsKey(*prompt, *static_cast<QKeyEvent*>(event));
    if (type == QEvent::KeyRelease) {
        const auto& key = *static_cast<QKeyEvent*>(event);
        lastRelease_ = Release{key.nativeScanCode(), timeOf(key)};
        return false;
    }
    const auto& mouse = *static_cast<QMouseEvent*>(event);
    if (type == QEvent::MouseButtonRelease)
        return dropsRelease(window, mouse);
    if (type != QEvent::MouseMove)
        return dropsPress(*prompt, window, mouse);
    if (&window == prompt->windowHandle())
        prompt->mouseMovedTo(mouse.globalPosition());
    return false;
}

bool InputGuard::dropsPress(const PromptDialog& prompt, QWindow& window, const QMouseEvent& event)
{
    pressed_.erase(event.button());
    const InputOrigins::Time time = timeOf(event);
    if (!prompt.isArmed(time)) {
        sound_();
        return true;
    }
    if (!prompt.takesClick(
            origins_.sourceOf({InputOrigins::Kind::Button, numberOf(event.button()), time})))
        return true;
    pressed_[event.button()] = &window;
    return false;
}

// A list takes its entry when the button is let go: only whoever pressed there may.
bool InputGuard::dropsRelease(const QWindow& window, const QMouseEvent& event)
{
    const auto pressed = pressed_.find(event.button());
    if (pressed == pressed_.end())
        return true;
    const bool elsewhere = pressed->second != &window;
    pressed_.erase(pressed);
    return elsewhere;
}

// The prompt itself asks whether a program pressed the key; a list does not.
bool InputGuard::dropsKey(PromptDialog& prompt, const QKeyEvent& event)
{
    if (isModifierKey(event))
        return false;
    const InputOrigins::Time time = timeOf(event);
    const bool repeated
        = event.isAutoRepeat() || lastRelease_ == Release{event.nativeScanCode(), time};
    if (!prompt.isArmed(time)) {
        if (!repeated)
            sound_();
        return true;
    }
    const EventSource source
        = origins_.sourceOf({InputOrigins::Kind::Key, event.nativeScanCode(), time});
    if (QApplication::activePopupWidget())
        return !prompt.takesKey(source);
    prompt.setKeySource(source, repeated);
    return false;
}

InputOrigins::Time InputGuard::timeOf(const QInputEvent& event)
{
    return times_ == EventTimes::OfWindowSystem ? static_cast<InputOrigins::Time>(event.timestamp())
                                                : origins_.now();
}

}
