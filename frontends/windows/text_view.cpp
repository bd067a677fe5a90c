#include "frontends/windows/text_view.h"

#include <QFontMetrics>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace vossel {

TextView::TextView(const PromptTheme& theme, double points, QFont::Weight weight)
    : escapeColor_(theme.caution)
    , color_(theme.text)
{
    setTextFormat(Qt::PlainText);
    setFont(layoutFont(points, weight));
    setFocusPolicy(Qt::NoFocus);
    QSizePolicy policy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    setSizePolicy(policy);
}

void TextView::setMaximumLines(int lines)
{
    maximumLines_ = lines;
    // "Fixed" would hold it to the height of one line.
    QSizePolicy policy(
        QSizePolicy::Ignored, lines > 1 ? QSizePolicy::Preferred : QSizePolicy::Fixed);
    policy.setHeightForWidth(lines > 1);
    setSizePolicy(policy);
    updateGeometry();
}

void TextView::setTruncation(Truncation truncation)
{
    truncation_ = truncation;
    update();
}

void TextView::setColor(const QColor& color)
{
    color_ = color;
    update();
}

void TextView::setBytes(std::string_view bytes)
{
    shown_ = shownText(bytes);
    setText(shown_.text);
    setAccessibleName(shown_.text);
    updateGeometry();
    update();
}

int TextView::heightForWidth(int width) const
{
    const ShownLines lines = linesOf(shown_.text, {font(), width, maximumLines_});
    return std::max(fontMetrics().lineSpacing(), static_cast<int>(std::ceil(lines.height)));
}

QSize TextView::sizeHint() const
{
    const int width = fontMetrics().horizontalAdvance(shown_.text);
    return {width + 1, fontMetrics().lineSpacing()};
}

QSize TextView::minimumSizeHint() const
{
    return {0, fontMetrics().lineSpacing()};
}

// Where the window has to be smaller than it wants, lines are left out rather than cut through.
ShownPlace TextView::placeOf(int width, int height) const
{
    const int room = height / std::max(1, fontMetrics().lineSpacing());
    return {font(), width, std::clamp(room, 1, maximumLines_)};
}

void TextView::paintEvent(QPaintEvent*)
{
    const ShownPlace place = placeOf(width(), height());
    QPainter painter(this);
    painter.setPen(isEnabled() ? color_ : palette().color(QPalette::Disabled, QPalette::Text));
    draw(painter, {0, 0}, fitted(shown_, truncation_, place), place, escapeColor_);
}

}
