#pragma once

#include "frontends/windows/press_button.h"
#include "frontends/windows/prompt_header.h"
#include "frontends/windows/prompt_services.h"
#include "platform/input_origins.h"
#include "ui/controls/touch_bar.h"
#include "ui/prompt/prompt_frame.h"

#include <QDialog>
#include <QPointF>
#include <QScrollArea>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace vossel {

class TouchBarStrip;

// The window of either prompt: what both show, and how the keyboard and the mouse reach the view
// model. It decides nothing. Nothing that is done before a person can have seen it counts, and
// nobody closes it but whoever made it. Main thread.
class PromptDialog : public QDialog {
public:
    using Services = PromptServices;

    // How long a person needs to see what has appeared.
    static constexpr std::chrono::milliseconds armingTime{400};

    // In front of everything, with the keyboard.
    void appear();
    // The prompt is over: nothing reaches the view model any more.
    void retire();
    [[nodiscard]] bool isRetired() const { return retired_; }
    // Copies the state of the view model.
    virtual void sync();
    // `whole`: when the prompt appeared.
    void showTimeLeft(std::chrono::milliseconds left, std::chrono::milliseconds whole);
    // A key was refused: points to those that are taken.
    void pointToKeys();

    // Whether input of that time may come from somebody who had seen the window.
    [[nodiscard]] bool isArmed(InputOrigins::Time time) const;
    // Whether a press that this source composed may go on; tells the user otherwise.
    [[nodiscard]] bool takesClick(const EventSource& source) const;
    [[nodiscard]] bool takesKey(const EventSource& source) const;
    // Of a key that is about to be delivered here.
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
    PromptDialog(Services services, const PromptFrame& frame);

    [[nodiscard]] const Services& services() const { return services_; }
    [[nodiscard]] PromptHeader& header() { return header_; }
    [[nodiscard]] QWidget& body() { return body_; }
    // Deny and Allow stand on its right.
    [[nodiscard]] PressButton& extraButton() { return extra_; }
    // The headline, which a screen reader reads first.
    void setSentence(std::string_view sentence, const policy_query& query);
    // Which keys shape the answer, beside those that give it.
    void setKeys(const QString& keys) { keys_ = keys; }
    // Of the screen and of this window, as the view model counts: from the lower left corner.
    [[nodiscard]] Rect frameOnScreen() const;
    [[nodiscard]] Rect frameInWindow(const QWidget& widget) const;
    // Below the window, where the touch bar alone may answer; before it appears.
    template <class Prompt>
    void addTouchBar(Prompt& prompt)
    {
        addStrip(prompt.touchBar(),
            [&prompt](std::string_view name) { return prompt.makeItemForIdentifier(name); });
    }
    // The window or something in it stands elsewhere now.
    virtual void placed() { }
    void connectDecisions(const std::function<void()>& deny, const std::function<void()>& allow);
    // `act` unless the prompt is over by then.
    [[nodiscard]] PressButton::Act acting(std::function<void()> act);
    // What a press through the accessibility services does: nobody knows who asked for it.
    [[nodiscard]] PressButton::Act actingForProgram(std::function<void()> act);

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
    void addStrip(
        const TouchBar& bar, const std::function<TouchBarItem(std::string_view)>& itemFor);
    void showKeys(const QColor& color);
    void layOut();
    void place();
    void showIcon(const ImageSource& image);
    void commandKeyChanged(bool down);
    void arm();
    void comeBack();

    const Services services_;
    const PromptFrame& frame_;
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
    std::optional<InputOrigins::Time> armedFrom_;
    EventSource keySource_;
    bool keyRepeated_ = false;
    double share_ = 1; // of the time that is left
    WindowLevel level_ = WindowLevel::Maximum;
    bool firstPaint_ = true;
    bool retired_ = false;
};

}
