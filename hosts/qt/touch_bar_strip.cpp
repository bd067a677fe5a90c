#include "hosts/qt/touch_bar_strip.h"

#include "hosts/qt/prompt_dialog.h"
#include "hosts/qt/resource_image.h"
#include "hosts/qt/window_hints.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QScreen>
#include <QWindow>

#include <algorithm>

namespace vossel {

namespace {

constexpr int gap = 10; // below the prompt

PressButton* buttonOf(const TouchBarItem& item, const PromptTheme& theme)
{
    auto* button = new PressButton(theme, PressButton::Look::Strip, 14);
    button->setObjectName(QString::fromStdString(item.identifier));
    button->setText(QString::fromStdString(item.view->title));
    if (!item.view->imageName.empty())
        button->setImage(resourceImage(QString::fromStdString(item.view->imageName),
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
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(10, 8, 10, 8);
    layout->setSpacing(8);
    for (const std::string& identifier : bar.defaultItemIdentifiers) {
        const TouchBarItem item = itemFor(identifier);
        if (!item.view)
            continue;
        PressButton* button = buttonOf(item, theme);
        connect(*button, item.view->action);
        layout->addWidget(button);
    }
}

void TouchBarStrip::appearBelow(const QWidget& prompt)
{
    adjustSize();
    const QRect room = prompt.screen()->availableGeometry();
    const QPoint corner(prompt.x() + (prompt.width() - width()) / 2,
        std::min(prompt.y() + prompt.height() + gap, room.bottom() - height()));
    move(std::clamp(corner.x(), room.left(), std::max(room.left(), room.right() - width())),
        corner.y());
    (void)winId();
    showOnEveryWorkspace(*windowHandle());
    show();
    raise();
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
