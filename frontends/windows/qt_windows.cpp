#include "frontends/windows/qt_windows.h"

#include "frontends/windows/prompt_theme.h"
#include "frontends/windows/shown_text.h"

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
