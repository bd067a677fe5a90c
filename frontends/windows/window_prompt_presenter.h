#pragma once

#include "frontends/windows/input_guard.h"
#include "frontends/windows/prompt_dialog.h"
#include "platform/alert_sound.h"
#include "platform/clock.h"
#include "platform/timers.h"
#include "ui/prompt/prompt_countdown.h"
#include "ui/prompt/prompt_presenter.h"

#include <QPointer>

#include <functional>
#include <memory>
#include <optional>

namespace vossel {

// Shows each prompt as a window: owns the window of the open prompt, its theme, its countdown and
// the guard of its input. It must not know one kind of prompt from the other but to make the
// window. Main thread, where a QApplication exists.
class WindowPromptPresenter final : public PromptPresenter, public AlertSound {
public:
    struct Services {
        Clock& clock;
        Timers& timers;
        InputOrigins& origins;
        InputGuard::EventTimes times;
        std::function<QImage(const ImageSource& source, int pixels)> image;
        std::function<void()> ring;
    };

    explicit WindowPromptPresenter(Services services);
    ~WindowPromptPresenter() override;
    // The prompts that open from now on have these colours; an open one keeps its own.
    void setColorScheme(ColorScheme scheme);

    void promptOpened(ShownPrompt& prompt) override;
    void promptChanged(ShownPrompt& prompt) override;
    void promptClosed(ShownPrompt& prompt) override;

    // Rings, and points to the keys that the open prompt takes.
    void play() override;

    // The window of the open prompt; null without one.
    [[nodiscard]] PromptDialog* window() const { return window_; }

private:
    void tick();
    [[nodiscard]] PromptDialog::Services windowServices();

    const Services services_;
    std::shared_ptr<const PromptTheme> theme_;
    QObject here_; // acts that are put off are carried out on its thread
    InputGuard guard_;
    QPointer<PromptDialog> window_;
    const ShownPrompt* open_ = nullptr; // the prompt of the window
    std::optional<PromptCountdown> countdown_; // of that prompt
    Clock::Duration whole_{}; // that was left when it opened
    Timers::Timer tick_ = 0;
};

}
