#include "frontends/windows/tip_panel.h"

#include <QPainter>
#include <QScreen>

#include <algorithm>

namespace vossel {

namespace {

constexpr int padding = 6;
constexpr int maxWidth = 640; // points

}

TipPanel::TipPanel(const PromptTheme& theme, QWidget* window)
    : QWidget(window, Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint)
    , theme_(theme)
    , text_(theme, 13)
{
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    text_.setParent(this);
}

void TipPanel::showAt(const TipWindow& tip, QPoint corner)
{
    text_.setBytes(tip.text);
    const QRect room = parentWidget()->screen()->availableGeometry();
    const int width = std::min(
        {text_.sizeHint().width(), qRound(maxWidth * layoutScale()), room.width() - 2 * padding});
    text_.setMaximumLines(std::max(2, (room.height() - 2 * padding) / text_.sizeHint().height()));
    const int height = text_.heightForWidth(width);
    text_.setGeometry(padding, padding, width, height);
    resize(width + 2 * padding, height + 2 * padding);
    corner.setX(
        std::clamp(corner.x(), room.left(), std::max(room.left(), room.right() - this->width())));
    corner.setY(
        std::clamp(corner.y(), room.top(), std::max(room.top(), room.bottom() - this->height())));
    move(corner);
    setWindowOpacity(tip.textAlpha);
    show();
}

void TipPanel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), theme_.card);
    painter.setPen(theme_.border);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

}
