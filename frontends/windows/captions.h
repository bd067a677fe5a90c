#pragma once

#include "frontends/windows/prompt_theme.h"

#include <QLabel>

namespace vossel {

// The distance from the edge of a prompt to its rows.
inline constexpr int captionMargin = 20;

// Makes the label of a row; the layout that it is put into owns it.
[[nodiscard]] inline QLabel* caption(const char* text, const PromptTheme& theme)
{
    auto* label = new QLabel(text);
    label->setFont(layoutFont(12));
    QPalette dim = theme.palette();
    dim.setColor(QPalette::WindowText, theme.dim);
    label->setPalette(dim);
    return label;
}

}
