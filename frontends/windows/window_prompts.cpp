#include "frontends/windows/window_prompts.h"

#include "frontends/windows/advanced_dialog.h"
#include "frontends/windows/simple_dialog.h"
#include "prompting/permissions_manager.h"

#include <QMetaObject>

#include <algorithm>
#include <utility>

namespace vossel {

namespace {

constexpr Clock::Duration second = std::chrono::seconds(1);

std::chrono::milliseconds toMilliseconds(Clock::Duration duration)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(duration);
}

}

WindowPrompts::WindowPrompts(Services services)
    : services_(std::move(services))
    , theme_(std::make_shared<const PromptTheme>(ColorScheme::Light))
    , guard_(services_.origins, services_.times, [this] { play(); })
{
}

WindowPrompts::~WindowPrompts()
{
    services_.timers.cancel(tick_);
    delete window_;
}

void WindowPrompts::setColorScheme(ColorScheme scheme)
{
    theme_ = std::make_shared<const PromptTheme>(scheme);
}

void WindowPrompts::play()
{
    services_.ring();
    if (window_)
        window_->pointToKeys();
}

PromptDialog::Services WindowPrompts::windowServices()
{
    return {theme_, services_.origins, services_.image, *manager_, services_.processes,
        [this] { play(); },
        [this](std::function<void()> act) {
            QMetaObject::invokeMethod(&here_, std::move(act), Qt::QueuedConnection);
        }};
}

void WindowPrompts::promptOpened(QMPermissionsWindow& prompt)
{
    open<AdvancedDialog>(prompt);
}

void WindowPrompts::promptOpened(QMSimplePermissionsWindow& prompt)
{
    open<SimpleDialog>(prompt);
}

template <class Window, class Prompt>
void WindowPrompts::open(Prompt& prompt)
{
    wait_ = manager_->shownWait();
    if (!wait_ || wait_->isOver())
        return;
    open_ = &prompt;
    whole_ = std::max(Clock::Duration::zero(), wait_->deadline() - services_.clock.now());
    window_ = new Window(windowServices(), prompt);
    tick();
    window_->appear();
}

void WindowPrompts::sync(const void* prompt)
{
    if (open_ == prompt && window_)
        window_->sync();
}

void WindowPrompts::closed(const void* prompt)
{
    if (open_ != prompt)
        return;
    open_ = nullptr;
    services_.timers.cancel(std::exchange(tick_, 0));
    if (window_)
        window_->retire();
    window_ = nullptr;
}

void WindowPrompts::tick()
{
    const Clock::Duration left
        = std::max(Clock::Duration::zero(), wait_->deadline() - services_.clock.now());
    window_->showTimeLeft(toMilliseconds(left), toMilliseconds(whole_));
    if (window_->isVisible())
        window_->stayAbove();
    if (left == Clock::Duration::zero())
        return;
    const Clock::Duration toNext = left % second;
    tick_ = services_.timers.once(
        toNext == Clock::Duration::zero() ? second : toNext, [this] { tick(); });
}

}
