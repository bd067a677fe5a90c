#include "hosts/qt/qt_windows.h"

#include "hosts/qt/prompt_theme.h"
#include "hosts/qt/shown_text.h"

#include <QFontMetricsF>
#include <QGuiApplication>

namespace vossel {

bool QtWindows::commandKeyHeld() const
{
    return QGuiApplication::queryKeyboardModifiers().testFlag(Qt::ControlModifier);
}

double QtWindows::textWidth(std::string_view text, float fontSize) const
{
    const QFontMetricsF metrics(layoutFont(static_cast<double>(fontSize)));
    return metrics.horizontalAdvance(shownText(text).text) / layoutScale();
}

}
