#pragma once

namespace vossel {

class AboutWindowController;
class QMFirstRunWindowController;

// Who shows the application's own small windows to a person. Called on the main thread. A
// controller lives at least from ...Opened to ...Closed, which comes once after it, unless the
// program ends with the window open. No act of the user may be carried out from within these calls.
class WindowPresenter {
public:
    virtual ~WindowPresenter() = default;

    virtual void firstRunOpened(QMFirstRunWindowController& window) = 0;
    // Something that a person can see has changed.
    virtual void firstRunChanged(QMFirstRunWindowController& window) = 0;
    virtual void firstRunClosed(QMFirstRunWindowController& window) = 0;
    // What this window shows does not change.
    virtual void aboutOpened(AboutWindowController& window) = 0;
    virtual void aboutClosed(AboutWindowController& window) = 0;
};

}
