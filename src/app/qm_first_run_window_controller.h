#pragma once

#include "app/window_context.h"
#include "foundation/mutex.h"
#include "ui/controls/button.h"
#include "ui/controls/image_view.h"
#include "ui/controls/progress_indicator.h"
#include "ui/controls/window.h"

#include <memory>
#include <string_view>

namespace vossel {

// Who waits for first run to end.
class QMFirstRunWindowControllerDelegate {
public:
    virtual ~QMFirstRunWindowControllerDelegate() = default;

    // Any thread; may come more than once.
    virtual void firstRunHasEnded() = 0;
};

// The window that stands while first-run mode is on: a bar fills for 240 seconds, then, or when the
// user has enough, the delegate hears that first run has ended. Main thread only, but for
// endFirstRun and the delegate. The countdown keeps the controller, and with it the delegate, until
// it ends: after its 240 seconds whatever the user does and whether the window is open, or with the
// program.
class QMFirstRunWindowController : public std::enable_shared_from_this<QMFirstRunWindowController> {
public:
    static constexpr std::string_view windowNibName = "QMFirstRunWindowController";
    static constexpr int countdownSeconds = 240;

    [[nodiscard]] static std::shared_ptr<QMFirstRunWindowController> init(
        const WindowContext& context);

    Window window;
    ImageView computerImageView;
    ImageView vosselImageView;
    ImageView arrowsImageView;
    ProgressIndicator progressIndicator;
    Button finishButton;

    // The controller keeps its delegate. A delegate that keeps this controller in turn must be
    // taken away by setting null, or neither is ever destroyed.
    void setDelegate(std::shared_ptr<QMFirstRunWindowControllerDelegate> delegate);
    [[nodiscard]] std::shared_ptr<QMFirstRunWindowControllerDelegate> delegate() const;
    // The seconds that have passed.
    [[nodiscard]] double indicatorValue() const { return indicatorValue_; }

    // Loads the window and shows it, once; nothing the second time.
    void open();
    // Takes the window away; the countdown goes on. Nothing unless the window is open.
    void close();

    // Sets the window's contents up; a window system may call it again for each nested view.
    void awakeFromNib();
    void windowDidLoad();
    void clickedFinished() const { endFirstRun(); }
    void endFirstRun() const;

private:
    enum class Phase { New, Open, Closed };

    explicit QMFirstRunWindowController(const WindowContext& context);

    void loadImages();
    void setTheme();
    void startCountDown();
    void countDown();
    void updateIndicator();
    void changed();

    const WindowContext context_;
    Phase phase_ = Phase::New;
    double indicatorValue_ = 0;
    mutable Mutex lock_;
    bool initialize_ VOSSEL_GUARDED_BY(lock_) = true;
    std::shared_ptr<QMFirstRunWindowControllerDelegate> delegate_ VOSSEL_GUARDED_BY(lock_);
};

}
