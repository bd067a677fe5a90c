#include "hosts/qt/text_view.h"

#include <QFontMetrics>
#include <QPainter>
#include <QTextLayout>

#include <algorithm>

namespace vossel {

namespace {

constexpr QChar ellipsis(0x2026);

QTextOption leftToRight(int lines)
{
    QTextOption option(Qt::AlignLeft);
    option.setTextDirection(Qt::LeftToRight);
    option.setWrapMode(lines > 1 ? QTextOption::WrapAtWordBoundaryOrAnywhere : QTextOption::NoWrap);
    return option;
}

// At most `most` lines and one more, so that whoever asks sees that they do not suffice.
int layOut(QTextLayout& layout, int width, int most)
{
    int lines = 0;
    double top = 0;
    layout.beginLayout();
    for (; lines <= most; ++lines) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(width);
        line.setPosition({0, top});
        top += line.height();
    }
    layout.endLayout();
    return lines;
}

}

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
    const int lines = std::clamp(linesOf(shown_.text, width, maximumLines_), 1, maximumLines_);
    return lines * fontMetrics().lineSpacing();
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

int TextView::linesOf(const QString& text, int width, int most) const
{
    if (most == 1)
        return fontMetrics().horizontalAdvance(text) <= width ? 1 : 2;
    QTextLayout layout(text, font());
    layout.setTextOption(leftToRight(most));
    return layOut(layout, width, most);
}

TextView::Piece TextView::without(std::size_t left) const
{
    if (left == 0)
        return {shown_.text, shown_.escapes};
    const std::size_t glyphs = shown_.cuts.size() - 1;
    const std::size_t kept = glyphs - std::min(left, glyphs);
    const std::size_t head = truncation_ == Truncation::Tail ? kept : kept - kept / 2;
    const qsizetype headEnd = shown_.cuts[head];
    const qsizetype tailStart = shown_.cuts[glyphs - (kept - head)];
    Piece piece{shown_.text.left(headEnd) + ellipsis + shown_.text.mid(tailStart), {}};
    const qsizetype moved = headEnd + 1 - tailStart;
    for (const ShownText::Escape& escape : shown_.escapes) {
        if (escape.start + escape.length <= headEnd)
            piece.escapes.push_back(escape);
        else if (escape.start >= tailStart)
            piece.escapes.push_back({escape.start + moved, escape.length});
    }
    return piece;
}

TextView::Piece TextView::fitted(int width) const
{
    if (linesOf(shown_.text, width, maximumLines_) <= maximumLines_)
        return without(0);
    std::size_t tooFew = 0; // left out
    std::size_t enough = shown_.cuts.size() - 1;
    while (enough - tooFew > 1) {
        const std::size_t middle = tooFew + (enough - tooFew) / 2;
        if (linesOf(without(middle).text, width, maximumLines_) <= maximumLines_)
            enough = middle;
        else
            tooFew = middle;
    }
    return without(enough);
}

void TextView::paintEvent(QPaintEvent*)
{
    const Piece piece = fitted(width());
    QTextLayout layout(piece.text, font());
    layout.setTextOption(leftToRight(maximumLines_));
    QList<QTextLayout::FormatRange> ranges;
    QTextCharFormat marked;
    marked.setForeground(escapeColor_);
    for (const ShownText::Escape& escape : piece.escapes)
        ranges.append({static_cast<int>(escape.start), static_cast<int>(escape.length), marked});
    layout.setFormats(ranges);
    layOut(layout, width(), maximumLines_);
    QPainter painter(this);
    painter.setPen(isEnabled() ? color_ : palette().color(QPalette::Disabled, QPalette::Text));
    layout.draw(&painter, {0, 0});
}

}
