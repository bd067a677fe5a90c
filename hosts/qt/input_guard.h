#pragma once

#include "platform/input_origins.h"

#include <QObject>

#include <cstdint>
#include <functional>

class QInputEvent;
class QKeyEvent;
class QMouseEvent;
class QWidget;

namespace vossel {

class PromptDialog;

// Stands before every prompt and what belongs to it: lets through only presses that a person can
// have meant for what they saw, and that no program composed. Lives as long as the application;
// main thread.
class InputGuard final : public QObject {
public:
    // Whose clock the events' times are of.
    enum class EventTimes : std::uint8_t { OfWindowSystem, Unknown };

    InputGuard(InputOrigins& origins, EventTimes times, std::function<void()> sound);
    ~InputGuard() override;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] bool dropsClick(const PromptDialog& prompt, const QMouseEvent& event);
    [[nodiscard]] bool dropsKey(
        PromptDialog& prompt, const QWidget& target, const QKeyEvent& event);
    [[nodiscard]] InputOrigins::Time timeOf(const QInputEvent& event);

    InputOrigins& origins_;
    const EventTimes times_;
    const std::function<void()> sound_;
};

}
