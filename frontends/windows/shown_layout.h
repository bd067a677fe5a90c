#pragma once

#include "frontends/windows/shown_text.h"
#include "ui/controls/text_field.h"

#include <QColor>
#include <QTextLayout>

namespace vossel {

// How a text of anybody's choice is fitted into a place: cut between its glyphs only, its escapes
// in a colour of their own. Main thread.
struct ShownPiece {
    QString text;
    std::vector<ShownText::Escape> escapes;
};

struct ShownPlace {
    QFont font;
    int width = 0; // pixels
    int lines = 1;
};

// Cuts the text to what the place holds; what is left out is marked, at the end or in the middle.
[[nodiscard]] ShownPiece fitted(
    const ShownText& shown, Truncation truncation, const ShownPlace& place);

// Lays a text out in at most as many lines as the place has and one more, so that whoever asks sees
// that they do not suffice.
struct ShownLines {
    int count = 0;
    double height = 0; // of those that fit
};
[[nodiscard]] ShownLines linesOf(const QString& text, const ShownPlace& place);

void draw(QPainter& painter, QPointF corner, const ShownPiece& piece, const ShownPlace& place,
    const QColor& escapes);

}
