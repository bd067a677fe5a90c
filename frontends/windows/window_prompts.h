#pragma once

#include "frontends/windows/input_guard.h"
#include "frontends/windows/prompt_dialog.h"
#include "platform/alert_sound.h"
#include "platform/clock.h"
#include "platform/timers.h"
#include "ui/prompt/presenter_by_kind.h"

#include <QPointer>

#include <functional>
#include <memory>

namespace vossel {

class QueryWait;

// Shows each prompt as a window. Main thread, where a QApplication exists.
class WindowPrompts final : public PresenterByKind, public AlertSound {
public:
    struct Services {
        Clock& clock;
        Timers& timers;
        const Processes& processes;
        InputOrigins& origins;
        InputGuard::EventTimes times;
        std::function<QImage(const ImageSource& source, int pixels)> image;
        std::function<void()> ring;
    };

    explicit WindowPrompts(Services services);
    ~WindowPrompts() override;
    // Before the first prompt. The manager goes first of the two: going, it closes its prompts.
    void setManager(const PermissionsManager* manager) { manager_ = manager; }
    // Of the prompts to come.
    void setColorScheme(ColorScheme scheme);

    void promptOpened(QMPermissionsWindow& prompt) override;
    void promptOpened(QMSimplePermissionsWindow& prompt) override;
    void promptChanged(QMPermissionsWindow& prompt) override { sync(&prompt); }
    void promptChanged(QMSimplePermissionsWindow& prompt) override { sync(&prompt); }
    void promptClosed(QMPermissionsWindow& prompt) override { closed(&prompt); }
    void promptClosed(QMSimplePermissionsWindow& prompt) override { closed(&prompt); }

    // Rings, and points to the keys that the open prompt takes.
    void play() override;

    // The window of the open prompt; null without one.
    [[nodiscard]] PromptDialog* window() const { return window_; }

private:
    template <class Window, class Prompt>
    void open(Prompt& prompt);
    void sync(const void* prompt);
    void closed(const void* prompt);
    void tick();
    [[nodiscard]] PromptDialog::Services windowServices();

    const Services services_;
    std::shared_ptr<const PromptTheme> theme_;
    const PermissionsManager* manager_ = nullptr;
    QObject here_; // whoever is to be called later is called on its thread
    InputGuard guard_;
    QPointer<PromptDialog> window_;
    const void* open_ = nullptr; // the prompt of the window
    std::shared_ptr<QueryWait> wait_; // of that prompt
    Clock::Duration whole_{}; // the time it had when it opened
    Timers::Timer tick_ = 0;
};

}
