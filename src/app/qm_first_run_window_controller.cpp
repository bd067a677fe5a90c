#include "app/qm_first_run_window_controller.h"

#include "app/window_presenter.h"
#include "app/window_theme.h"
#include "foundation/log.h"
#include "platform/clock.h"
#include "platform/threads.h"

#include <chrono>
#include <utility>

namespace vossel {

namespace {

constexpr Rect windowFrame{0, 0, 460, 300};
constexpr double pictureSide = 128;
constexpr double arrowsSide = 64;

}

std::shared_ptr<QMFirstRunWindowController> QMFirstRunWindowController::init(
    const WindowContext& context)
{
    return std::shared_ptr<QMFirstRunWindowController>(new QMFirstRunWindowController(context));
}

QMFirstRunWindowController::QMFirstRunWindowController(const WindowContext& context)
    : window(WindowState{.frame = windowFrame})
    , progressIndicator(ProgressIndicatorState{.maxValue = countdownSeconds})
    , finishButton(ButtonState{.title = "Finish"})
    , context_(context)
{
    window.setObserver([this] { changed(); });
    progressIndicator.setObserver([this] { changed(); });
}

void QMFirstRunWindowController::setDelegate(
    std::shared_ptr<QMFirstRunWindowControllerDelegate> delegate)
{
    const MutexLock lock(lock_);
    delegate_.swap(delegate); // the former one goes after the lock has been given up
}

std::shared_ptr<QMFirstRunWindowControllerDelegate> QMFirstRunWindowController::delegate() const
{
    const MutexLock lock(lock_);
    return delegate_;
}

void QMFirstRunWindowController::open()
{
    if (phase_ != Phase::New)
        return;
    awakeFromNib();
    windowDidLoad();
    phase_ = Phase::Open;
    context_.presenter.firstRunOpened(*this);
}

void QMFirstRunWindowController::close()
{
    if (phase_ != Phase::Open)
        return;
    phase_ = Phase::Closed;
    window.update([](WindowState& state) {
        state.orderedFront = false;
        state.keyWindow = false;
    });
    context_.presenter.firstRunClosed(*this);
}

void QMFirstRunWindowController::awakeFromNib()
{
    {
        const MutexLock lock(lock_);
        if (!std::exchange(initialize_, false))
            return;
    }
    loadImages();
    progressIndicator.setHidden(false);
    progressIndicator.setIndeterminate(false);
    progressIndicator.setUsesThreadedAnimation(true);
    progressIndicator.setAnimating(true);
    setTheme();
    startCountDown();
}

void QMFirstRunWindowController::windowDidLoad()
{
    context_.mainThread.performAndWait([this] {
        window.update([](WindowState& state) {
            state.level = WindowLevel::Status;
            state.orderedFront = true;
            state.keyWindow = true;
        });
    });
}

void QMFirstRunWindowController::endFirstRun() const
{
    if (const auto told = delegate())
        told->firstRunHasEnded();
}

void QMFirstRunWindowController::loadImages()
{
    vosselImageView.setImage(ImageSource::resource("lock_128x128.png", pictureSide, pictureSide));
    computerImageView.setImage(ImageSource::resource("mac_128x128.png", pictureSide, pictureSide));
    arrowsImageView.setImage(ImageSource::resource("arrows_64x64.png", arrowsSide, arrowsSide));
}

void QMFirstRunWindowController::setTheme()
{
    applyWindowTheme(window);
}

// Without a thread nothing counts, and the finish button is what ends first run.
void QMFirstRunWindowController::startCountDown()
{
    indicatorValue_ = 0;
    if (!context_.threads.launch(
            "first-run countdown", [self = shared_from_this()] { self->countDown(); }))
        logText("there is no thread left for the first-run countdown");
}

// The countdown's thread.
void QMFirstRunWindowController::countDown()
{
    for (int second = 0; second < countdownSeconds; ++second) {
        if (!context_.clock.sleep(std::chrono::seconds(1)))
            return; // the program ends, which is not the end of first run
        context_.mainThread.perform([self = shared_from_this()] { self->updateIndicator(); });
    }
    endFirstRun();
}

void QMFirstRunWindowController::updateIndicator()
{
    indicatorValue_ += 1;
    progressIndicator.setDoubleValue(indicatorValue_);
}

void QMFirstRunWindowController::changed()
{
    if (phase_ == Phase::Open)
        context_.presenter.firstRunChanged(*this);
}

}
