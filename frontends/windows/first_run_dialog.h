#pragma once

#include "frontends/windows/press_button.h"
#include "frontends/windows/text_view.h"

#include <QLabel>
#include <QProgressBar>
#include <QWidget>

namespace vossel {

class QMFirstRunWindowController;

// The first-run window on the desktop. To close it is to finish. Main thread.
class FirstRunDialog final : public QWidget {
public:
    FirstRunDialog(const PromptTheme& theme, QMFirstRunWindowController& controller);

    void appear();
    // Copies the state of the view model.
    void sync();
    // Stops telling the controller anything.
    void retire();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void layOut();

    const PromptTheme theme_;
    QMFirstRunWindowController& controller_;
    bool retired_ = false;
    QLabel lock_;
    QLabel arrows_;
    QLabel computer_;
    TextView title_;
    TextView text_;
    QProgressBar progress_;
    PressButton finish_;
};

}
