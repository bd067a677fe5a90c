#include "frontends/windows/touch_bar_strip.h"

#include "frontends/windows/prompt_dialog.h"
#include "frontends/windows/sharp_pixmap.h"
#include "frontends/windows/window_manager.h"

#include <QCloseEvent>
#include <QPainter>
#include <QScreen>
#include <QWindow>

#include <algorithm>
#include <numeric>
#include <utility>

namespace vossel {

namespace {

constexpr int gap = 10; // below the prompt

PressButton* buttonOf(const TouchBarItem& item, const PromptTheme& theme)
{
    auto* button = new PressButton(theme, PressButton::Look::Strip, 14);
    button->setObjectName(QString::fromStdString(item.identifier));
    button->setText(QString::fromStdString(item.view->title));
    if (!item.view->imageName.empty())
        button->setImage(resourcePixmap(QString::fromStdString(item.view->imageName),
            item.view->imageWidth, button->devicePixelRatioF()));
    if (item.view->bezelColor == BezelColor::SystemRed)
        button->setBezel(theme.deny);
    else if (item.view->bezelColor == BezelColor::SystemGreen)
        button->setBezel(theme.allow);
    return button;
}

}

TouchBarStrip::TouchBarStrip(const PromptTheme& theme, PromptDialog& prompt, const TouchBar& bar,
    const std::function<TouchBarItem(std::string_view)>& itemFor,
    const std::function<void(PressButton&, std::function<void()>)>& connect)
    : QWidget(&prompt,
        Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
            | Qt::WindowDoesNotAcceptFocus)
    , theme_(theme)
{
    setAttribute(Qt::WA_ShowWithoutActivating);
    setWindowTitle("Vossel touch bar");
    layout_ = new QGridLayout(this);
    layout_->setContentsMargins(10, 8, 10, 8);
    layout_->setSpacing(8);
    for (const std::string& identifier : bar.defaultItemIdentifiers) {
        const TouchBarItem item = itemFor(identifier);
        if (!item.view)
            continue;
        PressButton* button = buttonOf(item, theme);
        connect(*button, item.view->action);
        buttons_.push_back(button);
    }
}

int TouchBarStrip::fitInto(int width)
{
    int widest = 0;
    for (const PressButton* button : buttons_)
        widest = std::max(widest, button->sizeHint().width() + layout_->spacing());
    const int needed = std::accumulate(
        buttons_.begin(), buttons_.end(), 0, [this](int sum, const PressButton* button) {
            return sum + button->sizeHint().width() + layout_->spacing();
        });
    const bool oneRow = needed + layout_->contentsMargins().left() * 2 <= width;
    const int columns = oneRow ? static_cast<int>(buttons_.size())
                               : std::clamp(width / std::max(1, widest), 1, 4);
    for (int i = 0; std::cmp_less(i, buttons_.size()); ++i)
        layout_->addWidget(buttons_[static_cast<std::size_t>(i)], i / columns, i % columns);
    adjustSize();
    return height() + gap;
}

void TouchBarStrip::appearBelow(const QWidget& prompt)
{
    moveBelow(prompt);
    (void)winId();
    showOnEveryWorkspace(*windowHandle());
    show();
    raise();
}

void TouchBarStrip::moveBelow(const QWidget& prompt)
{
    const QRect room = prompt.screen()->availableGeometry();
    const QPoint corner(prompt.x() + (prompt.width() - width()) / 2,
        std::min(prompt.y() + prompt.height() + gap, room.bottom() - height()));
    move(std::clamp(corner.x(), room.left(), std::max(room.left(), room.right() - width())),
        corner.y());
}

void TouchBarStrip::closeEvent(QCloseEvent* event)
{
    event->ignore();
    parentWidget()->close(); // which says that it is refused
}

void TouchBarStrip::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), theme_.window);
    painter.setPen(theme_.border);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

}
