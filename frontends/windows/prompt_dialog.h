#pragma once

#include "frontends/windows/press_button.h"
#include "frontends/windows/prompt_header.h"
#include "frontends/windows/prompt_services.h"
#include "platform/input_origins.h"
#include "ui/prompt/prompt_arming.h"
#include "ui/prompt/shown_prompt.h"

#include <QDialog>
#include <QPointF>
#include <QScrollArea>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace vossel {

class TouchBarStrip;

// The window of either prompt: owns the widgets that both have, and carries the keyboard and the
// mouse to the prompt. It must not decide anything: what it shows is one PromptView, what is done
// goes through ShownPrompt, which outlives it or is over (retire) before it goes. Nobody closes it
// but whoever made it. Main thread.
class PromptDialog : public QDialog {
public:
    using Services = PromptServices;

    // In front of everything, with the keyboard.
    void appear();
    // The prompt is over: nothing reaches the view model any more.
    void retire();
    [[nodiscard]] bool isRetired() const { return retired_; }
    // Shows what the prompt shows now.
    void sync();
    // `whole` is the time that was left when the prompt appeared.
    void showTimeLeft(std::chrono::milliseconds left, std::chrono::milliseconds whole);
    // Points to the keys that the prompt takes, because another one was pressed.
    void pointToKeys();

    // Whether input of that time may come from somebody who had seen the window.
    [[nodiscard]] bool isArmed(InputOrigins::Time time) const { return arming_.isArmed(time); }
    // Whether a press that this source composed may go on; tells the user otherwise.
    [[nodiscard]] bool takesClick(const EventSource& source) const;
    [[nodiscard]] bool takesKey(const EventSource& source) const;
    // Says who pressed the key that is delivered here next.
    void setKeySource(const EventSource& source, bool repeated)
    {
        keySource_ = source;
        keyRepeated_ = repeated;
    }
    // Above what has come to stand above it; not while somebody is asked for a password there.
    void stayAbove();
    // In the coordinates of the screen.
    virtual void mouseMovedTo(QPointF) { }

protected:
    PromptDialog(Services services, ShownPrompt& prompt);

    // Copies what is in the rows below the header.
    virtual void display(const PromptView& view) = 0;
    [[nodiscard]] ShownPrompt& prompt() { return prompt_; }
    [[nodiscard]] const Services& services() const { return services_; }
    [[nodiscard]] PromptHeader& header() { return header_; }
    [[nodiscard]] QWidget& body() { return body_; }
    // Deny and Allow stand on its right.
    [[nodiscard]] PressButton& extraButton() { return extra_; }
    // Names the keys that shape the answer, beside those that give it.
    void setKeys(const QString& keys) { keys_ = keys; }
    // Of the screen and of this window, as the view model counts: from the lower left corner.
    [[nodiscard]] Rect frameOnScreen() const;
    [[nodiscard]] Rect frameInWindow(const QWidget& widget) const;
    // Called when the window or something in it stands elsewhere than before.
    virtual void placed() { }
    // What a press does: the act, unless the prompt is over by then. A refused act changes nothing,
    // and what the widgets show is put right.
    [[nodiscard]] PressButton::Act carryingOut(const PromptAct& act);

    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void addStrip();
    [[nodiscard]] PressButton::Act acting(std::function<void()> act);
    // Asks first whether a program may press, for nobody knows who asked the accessibility
    // services.
    [[nodiscard]] PressButton::Act actingForProgram(std::function<void()> act);
    void showHeader();
    void showKeys(const QColor& color);
    void layOut();
    void place();
    void showIcon(const ImageSource& image);
    void commandKeyChanged(bool down);
    void arm();
    void comeBack();

    const Services services_;
    ShownPrompt& prompt_;
    PromptView shown_; // as it was last copied
    PromptHeader header_;
    QScrollArea scroll_;
    QWidget body_;
    QString keys_;
    QLabel hint_;
    QLabel touchBarLabel_;
    TouchBarStrip* strip_ = nullptr; // goes with the window
    PressButton extra_;
    PressButton deny_;
    PressButton allow_;
    std::optional<ImageSource> shownIcon_;
    PromptArming arming_{PromptArming::EarlyPress::ChangesNothing};
    EventSource keySource_;
    bool keyRepeated_ = false;
    double share_ = 1; // of the time that is left
    WindowLevel level_ = WindowLevel::Maximum; // that the window manager was asked for
    bool firstPaint_ = true;
    bool retired_ = false;
};

}
