#include "frontends/windows/window_prompt_presenter.h"

#include "frontends/windows/advanced_dialog.h"
#include "frontends/windows/simple_dialog.h"

#include <QMetaObject>

#include <utility>

namespace vossel {

namespace {

std::chrono::milliseconds toMilliseconds(Clock::Duration duration)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(duration);
}

}

WindowPromptPresenter::WindowPromptPresenter(Services services)
    : services_(std::move(services))
    , theme_(std::make_shared<const PromptTheme>(ColorScheme::Light))
    , guard_(services_.origins, services_.times, [this] { play(); })
{
}

WindowPromptPresenter::~WindowPromptPresenter()
{
    services_.timers.cancel(tick_);
    delete window_;
}

void WindowPromptPresenter::setColorScheme(ColorScheme scheme)
{
    theme_ = std::make_shared<const PromptTheme>(scheme);
}

void WindowPromptPresenter::play()
{
    services_.ring();
    if (window_)
        window_->pointToKeys();
}

PromptDialog::Services WindowPromptPresenter::windowServices()
{
    return {theme_, services_.origins, services_.image, [this] { play(); },
        [this](std::function<void()> act) {
            QMetaObject::invokeMethod(&here_, std::move(act), Qt::QueuedConnection);
        }};
}

void WindowPromptPresenter::promptOpened(ShownPrompt& prompt)
{
    if (prompt.isOver())
        return;
    open_ = &prompt;
    countdown_.emplace(prompt.countdown());
    whole_ = countdown_->left();
    if (prompt.view().kind == PromptView::Kind::Advanced)
        window_ = new AdvancedDialog(windowServices(), prompt);
    else
        window_ = new SimpleDialog(windowServices(), prompt);
    tick();
    window_->appear();
}

void WindowPromptPresenter::promptChanged(ShownPrompt& prompt)
{
    if (open_ == &prompt && window_)
        window_->sync();
}

void WindowPromptPresenter::promptClosed(ShownPrompt& prompt)
{
    if (open_ != &prompt)
        return;
    open_ = nullptr;
    services_.timers.cancel(std::exchange(tick_, 0));
    if (window_)
        window_->retire();
    window_ = nullptr;
}

void WindowPromptPresenter::tick()
{
    window_->showTimeLeft(toMilliseconds(countdown_->left()), toMilliseconds(whole_));
    if (window_->isVisible())
        window_->stayAbove();
    const Clock::Duration next = countdown_->untilNextSecond();
    if (next > Clock::Duration::zero())
        tick_ = services_.timers.once(next, [this] { tick(); });
}

}
