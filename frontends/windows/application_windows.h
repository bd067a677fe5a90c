#pragma once

#include "app/window_presenter.h"
#include "frontends/windows/prompt_theme.h"

#include <map>

class QWidget;

namespace vossel {

class FirstRunDialog;

// Shows the application's own small windows on the desktop. Main thread, where a QApplication
// exists.
class ApplicationWindows final : public WindowPresenter {
public:
    ApplicationWindows();
    ~ApplicationWindows() override;

    // The windows that open from now on have these colours.
    void setColorScheme(ColorScheme scheme) { theme_ = PromptTheme(scheme); }

    void firstRunOpened(QMFirstRunWindowController& window) override;
    void firstRunChanged(QMFirstRunWindowController& window) override;
    void firstRunClosed(QMFirstRunWindowController& window) override;
    void aboutOpened(AboutWindowController& window) override;
    void aboutClosed(AboutWindowController& window) override;

private:
    PromptTheme theme_{ColorScheme::Light};
    std::map<const void*, FirstRunDialog*> firstRuns_;
    std::map<const void*, QWidget*> abouts_;
};

}
