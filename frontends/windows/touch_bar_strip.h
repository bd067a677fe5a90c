#pragma once

#include "frontends/windows/press_button.h"
#include "ui/controls/touch_bar.h"

#include <QGridLayout>
#include <QWidget>

#include <functional>
#include <string_view>
#include <vector>

namespace vossel {

class PromptDialog;

// What stands in the place of a touch bar: a strip of its own below the prompt, where the keyboard
// cannot reach. Main thread; it goes with its prompt.
class TouchBarStrip final : public QWidget {
public:
    // `itemFor` gives the item of an identifier; `connect` says what a press of a button does.
    TouchBarStrip(const PromptTheme& theme, PromptDialog& prompt, const TouchBar& bar,
        const std::function<TouchBarItem(std::string_view)>& itemFor,
        const std::function<void(PressButton&, std::function<void()>)>& connect);

    // Takes as many rows as that width makes necessary; returns the height it needs below a prompt.
    int fitInto(int width);
    void appearBelow(const QWidget& prompt);
    void moveBelow(const QWidget& prompt);

protected:
    void closeEvent(QCloseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    const PromptTheme& theme_;
    QGridLayout* layout_ = nullptr;
    std::vector<PressButton*> buttons_; // from left to right
};

}
