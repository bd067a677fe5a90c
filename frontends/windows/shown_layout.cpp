#include "frontends/windows/shown_layout.h"

#include <QFontMetrics>
#include <QPainter>

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

ShownLines layOut(QTextLayout& layout, const ShownPlace& place)
{
    ShownLines lines;
    layout.setTextOption(leftToRight(place.lines));
    layout.beginLayout();
    for (; lines.count <= place.lines; ++lines.count) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(place.width);
        line.setPosition({0, lines.height});
        if (lines.count < place.lines)
            lines.height += line.height();
    }
    layout.endLayout();
    return lines;
}

bool fits(const QString& text, const ShownPlace& place)
{
    return linesOf(text, place).count <= place.lines;
}

// Leaves `left` glyphs out where the truncation wants it.
ShownPiece without(const ShownText& shown, Truncation truncation, std::size_t left)
{
    const std::size_t glyphs = shown.cuts.size() - 1;
    const std::size_t kept = glyphs - std::min(left, glyphs);
    const std::size_t head = truncation == Truncation::Tail ? kept : kept - kept / 2;
    const qsizetype headEnd = shown.cuts[head];
    const qsizetype tailStart = shown.cuts[glyphs - (kept - head)];
    ShownPiece piece{shown.text.left(headEnd) + ellipsis + shown.text.mid(tailStart), {}};
    const qsizetype moved = headEnd + 1 - tailStart;
    for (const ShownText::Escape& escape : shown.escapes) {
        if (escape.start + escape.length <= headEnd)
            piece.escapes.push_back(escape);
        else if (escape.start >= tailStart)
            piece.escapes.push_back({escape.start + moved, escape.length});
    }
    return piece;
}

}

ShownLines linesOf(const QString& text, const ShownPlace& place)
{
    const QFontMetricsF metrics(place.font);
    if (place.lines == 1)
        return {metrics.horizontalAdvance(text) <= place.width ? 1 : 2, metrics.lineSpacing()};
    QTextLayout layout(text, place.font);
    return layOut(layout, place);
}

ShownPiece fitted(const ShownText& shown, Truncation truncation, const ShownPlace& place)
{
    if (shown.cuts.empty() || fits(shown.text, place))
        return {shown.text, shown.escapes};
    std::size_t tooFew = 0; // left out
    std::size_t enough = shown.cuts.size() - 1;
    while (enough - tooFew > 1) {
        const std::size_t middle = tooFew + (enough - tooFew) / 2;
        if (fits(without(shown, truncation, middle).text, place))
            enough = middle;
        else
            tooFew = middle;
    }
    return without(shown, truncation, enough);
}

void draw(QPainter& painter, QPointF corner, const ShownPiece& piece, const ShownPlace& place,
    const QColor& escapes)
{
    QTextLayout layout(piece.text, place.font);
    QList<QTextLayout::FormatRange> ranges;
    QTextCharFormat marked;
    marked.setForeground(escapes);
    for (const ShownText::Escape& escape : piece.escapes)
        ranges.append({static_cast<int>(escape.start), static_cast<int>(escape.length), marked});
    layout.setFormats(ranges);
    (void)layOut(layout, place);
    layout.draw(&painter, corner);
}

}
