#pragma once

#include "frontends/windows/prompt_theme.h"
#include "frontends/windows/shown_layout.h"
#include "ui/controls/text_field.h"

#include <QLabel>
#include <QPalette>

#include <string_view>

namespace vossel {

// A text of anybody's choice: plain, from left to right, in at most so many lines, with what does
// not fit left out and marked. It never asks for more room than those lines. A screen reader gets
// all of it. Main thread.
class TextView final : public QLabel {
public:
    TextView(const PromptTheme& theme, double points, QFont::Weight weight = QFont::Normal);

    void setMaximumLines(int lines);
    void setTruncation(Truncation truncation);
    void setColor(const QColor& color);
    void setBytes(std::string_view bytes);

    [[nodiscard]] bool hasHeightForWidth() const override { return maximumLines_ > 1; }
    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    // Says how many lines fit.
    [[nodiscard]] ShownPlace placeOf(int width, int height) const;

    ShownText shown_;
    QColor escapeColor_;
    QColor color_;
    int maximumLines_ = 1;
    Truncation truncation_ = Truncation::Middle;
};

}
