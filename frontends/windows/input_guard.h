#pragma once

#include "platform/input_origins.h"

#include <QObject>
#include <QPointer>
#include <QWindow>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>

class QInputEvent;
class QKeyEvent;
class QMouseEvent;

namespace vossel {

class PromptDialog;

// Stands before every prompt, the lists that it opens and the strip below it: lets through only
// presses that a person can have meant for what they saw, and that no program composed. It judges
// what the window system delivers to a window, before any control has seen it. Lives as long as the
// application; main thread.
class InputGuard final : public QObject {
public:
    // Says by which clock events are stamped.
    enum class EventTimes : std::uint8_t { OfWindowSystem, Unknown };

    InputGuard(InputOrigins& origins, EventTimes times, std::function<void()> sound);
    ~InputGuard() override;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // A key was let go. An X server repeats a held key by a release and a press of the same time.
    struct Release {
        std::uint32_t detail = 0;
        InputOrigins::Time time = 0;

        bool operator==(const Release&) const = default;
    };

    [[nodiscard]] bool dropsPress(
        const PromptDialog& prompt, QWindow& window, const QMouseEvent& event);
    [[nodiscard]] bool dropsRelease(const QWindow& window, const QMouseEvent& event);
    [[nodiscard]] bool dropsKey(PromptDialog& prompt, const QKeyEvent& event);
    [[nodiscard]] InputOrigins::Time timeOf(const QInputEvent& event);

    InputOrigins& origins_;
    const EventTimes times_;
    const std::function<void()> sound_;
    std::map<Qt::MouseButton, QPointer<QWindow>> pressed_; // where the press was let through
    std::optional<Release> lastRelease_;
};

}
