#pragma once

#include "frontends/windows/prompt_theme.h"

#include <QPixmap>
#include <QPushButton>

#include <cstdint>
#include <functional>

namespace vossel {

// A button that knows who pressed it: the mouse, or a program through the accessibility services.
// It never has the keyboard, whose keys belong to the prompt. Main thread.
class PressButton final : public QPushButton {
public:
    enum class Look : std::uint8_t { Plain, Allow, Deny, Segment, Strip };
    using Act = std::function<void()>;

    PressButton(const PromptTheme& theme, Look look, double points = 13);

    // `pressedByProgram` is what a press without a mouse does; left out, it is the same act.
    void setAct(Act pressed, Act pressedByProgram = {});
    // A highlighted button is filled with its colour: a key would press this one now.
    void setHighlighted(bool highlighted);
    void setBezel(const QColor& color);
    // The image stands left of the text.
    void setImage(const QPixmap& image);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    [[nodiscard]] QColor lookColor() const;

    const PromptTheme& theme_;
    const Look look_;
    Act pressed_;
    Act pressedByProgram_;
    QColor bezel_;
    QPixmap image_;
    bool highlighted_ = false;
    bool pressing_ = false; // between the mouse's press and its release
};

}
