#include "frontends/windows/press_button.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPointer>

#include <algorithm>
#include <utility>

namespace vossel {

namespace {

constexpr int padding = 14;
constexpr int minHeight = 30;
constexpr int minWidth = 84;
constexpr int imageGap = 8;
constexpr int minSegmentWidth = 60;
constexpr double radius = 6;

QColor blended(const QColor& over, const QColor& under, double share)
{
    const auto mix = [share](float a, float b) { return float(a * share + b * (1 - share)); };
    return QColor::fromRgbF(mix(over.redF(), under.redF()), mix(over.greenF(), under.greenF()),
        mix(over.blueF(), under.blueF()));
}

}

PressButton::PressButton(const PromptTheme& theme, Look look, double points)
    : theme_(theme)
    , look_(look)
{
    const bool decides = look == Look::Allow || look == Look::Deny || look == Look::Strip;
    setFont(layoutFont(points, decides ? QFont::DemiBold : QFont::Normal));
    setFocusPolicy(Qt::NoFocus);
    setAutoDefault(false);
    if (look == Look::Segment)
        setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setCheckable(look == Look::Segment);
    setAutoExclusive(look == Look::Segment);
    setCursor(Qt::PointingHandCursor);
    connect(this, &QPushButton::clicked, this, [this] {
        const Act& act = pressing_ ? pressed_ : pressedByProgram_;
        if (act)
            act();
    });
}

void PressButton::setAct(Act pressed, Act pressedByProgram)
{
    pressed_ = std::move(pressed);
    pressedByProgram_ = pressedByProgram ? std::move(pressedByProgram) : pressed_;
}

void PressButton::setHighlighted(bool highlighted)
{
    highlighted_ = highlighted;
    update();
}

void PressButton::setBezel(const QColor& color)
{
    bezel_ = color;
    update();
}

void PressButton::setImage(const QPixmap& image)
{
    image_ = image;
    updateGeometry();
    update();
}

QSize PressButton::sizeHint() const
{
    int width = fontMetrics().horizontalAdvance(text()) + 2 * padding;
    int tall = std::max(minHeight, fontMetrics().height() + 12);
    if (!image_.isNull()) {
        const QSizeF image = image_.deviceIndependentSize();
        width += qRound(image.width()) + imageGap;
        tall = std::max(tall, qRound(image.height()) + 10);
    }
    return {std::max(width, look_ == Look::Segment ? 0 : minWidth), tall};
}

// A row of choices may become narrow where the screen is small; what decides may not.
QSize PressButton::minimumSizeHint() const
{
    const QSize wanted = sizeHint();
    return look_ == Look::Segment
        ? QSize(std::min(wanted.width(), minSegmentWidth), wanted.height())
        : wanted;
}

QColor PressButton::lookColor() const
{
    switch (look_) {
    case Look::Allow:
        return theme_.allow;
    case Look::Deny:
        return theme_.deny;
    case Look::Strip:
        return bezel_.isValid() ? bezel_ : theme_.accent;
    case Look::Plain:
    case Look::Segment:
        break;
    }
    return theme_.accent;
}

void PressButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor color = lookColor();
    const bool filled = highlighted_ || isChecked() || (look_ == Look::Strip && bezel_.isValid());
    const bool named = look_ == Look::Allow || look_ == Look::Deny;
    QColor ground = filled ? color : theme_.card;
    if (isEnabled() && isDown())
        ground = filled ? blended(theme_.text, ground, 0.25) : blended(color, ground, 0.25);
    else if (isEnabled() && underMouse())
        ground = filled ? blended(theme_.onAccent, ground, 0.12) : blended(color, ground, 0.1);
    painter.setPen(QPen(filled || named ? color : theme_.border, 1));
    painter.setBrush(ground);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);

    QColor ink = named ? color : theme_.text;
    if (filled)
        ink = theme_.onAccent;
    painter.setPen(isEnabled() ? ink : theme_.dim);
    QRect room = rect().adjusted(padding / 2, 0, -padding / 2, 0);
    if (!image_.isNull()) {
        const QSizeF size = image_.deviceIndependentSize();
        const double used = size.width() + imageGap + fontMetrics().horizontalAdvance(text());
        const QPointF corner(
            std::max<double>(room.left(), (width() - used) / 2), (height() - size.height()) / 2);
        painter.drawPixmap(corner, image_);
        room.setLeft(qRound(corner.x() + size.width()) + imageGap);
        painter.drawText(room, Qt::AlignVCenter | Qt::AlignLeft, text());
        return;
    }
    painter.drawText(
        room, Qt::AlignCenter, fontMetrics().elidedText(text(), Qt::ElideRight, room.width()));
}

void PressButton::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        pressing_ = true;
    QPushButton::mousePressEvent(event);
}

// The button may be gone when the click has been carried out.
void PressButton::mouseReleaseEvent(QMouseEvent* event)
{
    const QPointer<PressButton> self(this);
    QPushButton::mouseReleaseEvent(event);
    if (self && event->button() == Qt::LeftButton)
        pressing_ = false;
}

void PressButton::hideEvent(QHideEvent* event)
{
    pressing_ = false;
    QPushButton::hideEvent(event);
}

}
