#include "frontends/windows/prompt_theme.h"

#include <QFontDatabase>
#include <QFontInfo>

#include <algorithm>

namespace vossel {

namespace {

// Of ordinary text on a desktop that changes nothing.
constexpr double ordinaryPixels = 12;

}

PromptTheme::PromptTheme(ColorScheme scheme)
{
    const bool dark = scheme == ColorScheme::Dark;
    window = dark ? 0x232326 : 0xF6F6F8;
    card = dark ? 0x303035 : 0xFFFFFF;
    border = dark ? 0x4C4C54 : 0xCFCFD6;
    text = dark ? 0xF3F3F5 : 0x1B1B1F;
    dim = dark ? 0xACACB6 : 0x5E5E68;
    accent = dark ? 0x8AB4F8 : 0x1A5FD0;
    onAccent = dark ? 0x17171A : 0xFFFFFF;
    allow = dark ? 0x81C995 : 0x137333;
    deny = dark ? 0xF28B82 : 0xB3261E;
    caution = dark ? 0xFDD663 : 0x8A5200;
    danger = dark ? 0xF28B82 : 0xB3261E;
    dangerBand = dark ? 0x4A2523 : 0xFCE3E1;
}

QPalette PromptTheme::palette() const
{
    QPalette palette(window);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, card);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, card);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, danger);
    palette.setColor(QPalette::ToolTipBase, card);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, dim);
    palette.setColor(QPalette::Highlight, accent);
    palette.setColor(QPalette::HighlightedText, onAccent);
    for (const QPalette::ColorRole role :
        {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, dim);
    return palette;
}

double layoutScale()
{
    const QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    return std::max(1.0, QFontInfo(font).pixelSize() / ordinaryPixels);
}

QFont layoutFont(double points, QFont::Weight weight)
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(std::max(1, qRound(points * layoutScale())));
    font.setWeight(weight);
    return font;
}

}
