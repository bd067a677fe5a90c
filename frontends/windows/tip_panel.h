#pragma once

#include "frontends/windows/text_view.h"
#include "ui/controls/window.h"

#include <QWidget>

namespace vossel {

// The whole of a text that is shown cut, beside the mouse. However long, it stays on the screen.
// Main thread.
class TipPanel final : public QWidget {
public:
    TipPanel(const PromptTheme& theme, QWidget* window);

    // The upper left corner; moved where the tip would leave the screen.
    void showAt(const TipWindow& tip, QPoint corner);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const PromptTheme& theme_;
    TextView text_;
};

}
