#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

#include <cstdint>

namespace vossel {

enum class ColorScheme : std::uint8_t { Light, Dark };

// The colours of the product's own windows, the same on every desktop but for light and dark: who
// knows them is not taken in by what only looks like a prompt. An immutable value.
struct PromptTheme {
    explicit PromptTheme(ColorScheme scheme);

    QColor window;
    QColor card; // behind what is chosen and typed
    QColor border;
    QColor text;
    QColor dim; // text of less weight
    QColor accent;
    QColor onAccent; // text on the accent and on the two below
    QColor allow;
    QColor deny;
    QColor caution; // what deserves a second look
    QColor danger;
    QColor dangerBand; // behind the head of a prompt that deserves more care

    [[nodiscard]] QPalette palette() const;
};

// How many pixels a point of the layouts is: more where the user reads larger letters everywhere.
[[nodiscard]] double layoutScale();

// The desktop's font at a size that the layout names in points.
[[nodiscard]] QFont layoutFont(double points, QFont::Weight weight = QFont::Normal);

}
