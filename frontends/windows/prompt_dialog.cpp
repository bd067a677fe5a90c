#include "frontends/windows/prompt_dialog.h"

#include "frontends/windows/key_events.h"
#include "frontends/windows/sharp_pixmap.h"
#include "frontends/windows/touch_bar_strip.h"
#include "frontends/windows/window_manager.h"

#include <QApplication>
#include <QCloseEvent>
#include <QCursor>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QPointer>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <utility>

namespace vossel {

namespace {

constexpr int margin = 20;
constexpr int timeBarHeight = 4;
constexpr int widthInLayout = 600; // points
constexpr int screenMargin = 8;
constexpr std::chrono::milliseconds pointing{700};

}

PromptDialog::PromptDialog(Services services, ShownPrompt& prompt)
    : QDialog(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint)
    , services_(std::move(services))
    , prompt_(prompt)
    , header_(*services_.theme)
    , extra_(*services_.theme, PressButton::Look::Plain)
    , deny_(*services_.theme, PressButton::Look::Deny, 14)
    , allow_(*services_.theme, PressButton::Look::Allow, 14)
{
    setAttribute(Qt::WA_InputMethodEnabled, false);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setPalette(services_.theme->palette());
    setFont(layoutFont(13));
    setWindowTitle("Vossel");
    extra_.hide();
    deny_.setObjectName("deny");
    allow_.setObjectName("allow");
    for (const auto& [button, kind] :
        {std::pair{&deny_, PromptAct::Kind::Deny}, {&allow_, PromptAct::Kind::Allow}}) {
        const auto decide = [this, kind = kind] { (void)prompt_.carryOut({kind}); };
        button->setAct(acting(decide), actingForProgram(decide));
    }
    if (prompt_.view().touchBarOnly)
        addStrip();
    layOut();
}

void PromptDialog::layOut()
{
    scroll_.setWidget(&body_);
    scroll_.setWidgetResizable(true);
    scroll_.setFrameShape(QFrame::NoFrame);
    scroll_.setFocusPolicy(Qt::NoFocus);
    scroll_.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll_.setSizeAdjustPolicy(QAbstractScrollArea::AdjustToContents);

    hint_.setFont(layoutFont(11));
    hint_.setWordWrap(true);
    hint_.setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    touchBarLabel_.setFont(layoutFont(13, QFont::DemiBold));
    touchBarLabel_.setTextFormat(Qt::PlainText);
    auto* buttons = new QHBoxLayout;
    buttons->setContentsMargins(margin, 8, margin, margin - timeBarHeight);
    buttons->setSpacing(10);
    buttons->addWidget(&hint_, 1);
    buttons->addWidget(&touchBarLabel_);
    buttons->addWidget(&extra_);
    buttons->addWidget(&deny_);
    buttons->addWidget(&allow_);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(1, 1, 1, 1 + timeBarHeight);
    layout->setSpacing(0);
    layout->addWidget(&header_);
    layout->addWidget(&scroll_, 1);
    layout->addLayout(buttons);
}

void PromptDialog::showKeys(const QColor& color)
{
    hint_.setText(shown_.touchBarOnly ? keys_ : "Ctrl+Return allows, Esc denies\n" + keys_);
    QPalette colors = palette();
    colors.setColor(QPalette::WindowText, color);
    hint_.setPalette(colors);
}

void PromptDialog::pointToKeys()
{
    showKeys(services_.theme->danger);
    QTimer::singleShot(pointing, this, [this] {
        if (!retired_)
            showKeys(services_.theme->dim);
    });
}

// --- on the screen ------------------------------------------------------------------------------

void PromptDialog::appear()
{
    sync();
    showKeys(services_.theme->dim);
    place();
    (void)winId();
    showOnEveryWorkspace(*windowHandle());
    show();
    raise();
    activateWindow();
    setFocus(Qt::ActiveWindowFocusReason);
    if (strip_)
        strip_->appearBelow(*this);
    for (QWidget* widget : findChildren<QWidget*>())
        widget->setMouseTracking(true);
    setMouseTracking(true);
    placed();
}

// As high as its content wants, in the middle of the screen where the mouse is.
void PromptDialog::place()
{
    const QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    QRect room = screen->availableGeometry().adjusted(
        screenMargin, screenMargin, -screenMargin, -screenMargin);
    if (strip_)
        room.setBottom(room.bottom() - strip_->fitInto(room.width()));
    const int width = std::min(qRound(widthInLayout * layoutScale()), room.width());
    const int height = std::min(layout()->totalHeightForWidth(width), room.height());
    setFixedSize(width, height);
    move(room.center() - QPoint(width / 2, height * 3 / 5)
        + QPoint(0, std::max(0, height * 3 / 5 - room.height() / 2)));
}

// Only on the strip, where the keyboard cannot reach, may some prompts be answered.
void PromptDialog::addStrip()
{
    strip_ = new TouchBarStrip(
        *services_.theme, *this, prompt_.touchBar(),
        [this](std::string_view name) { return prompt_.makeItemForIdentifier(name); },
        [this](PressButton& button, const std::function<void()>& action) {
            button.setAct(acting(action), actingForProgram(action));
        });
}

void PromptDialog::moveEvent(QMoveEvent* event)
{
    QDialog::moveEvent(event);
    if (!isVisible())
        return;
    if (strip_)
        strip_->moveBelow(*this);
    placed();
}

Rect PromptDialog::frameOnScreen() const
{
    const int floor = screen()->virtualGeometry().bottom() + 1;
    return {double(x()), double(floor - y() - height()), double(width()), double(height())};
}

Rect PromptDialog::frameInWindow(const QWidget& widget) const
{
    const QPoint corner = widget.mapTo(this, QPoint(0, 0));
    return {double(corner.x()), double(height() - corner.y() - widget.height()),
        double(widget.width()), double(widget.height())};
}

void PromptDialog::retire()
{
    retired_ = true;
    hide();
    deleteLater();
}

void PromptDialog::sync()
{
    shown_ = prompt_.view();
    showHeader();
    for (const auto& [button, state] :
        {std::pair<PressButton*, const ButtonState*>{&deny_, &shown_.deny},
            {&allow_, &shown_.allow}}) {
        button->setText(QString::fromStdString(state->title));
        button->setVisible(!state->hidden);
        button->setHighlighted(state->highlighted);
    }
    touchBarLabel_.setText(QString::fromStdString(shown_.touchBarLabel));
    touchBarLabel_.setVisible(!shown_.touchBarLabel.empty());
    display(shown_);
    const WindowLevel level = shown_.level;
    if (windowHandle() && std::exchange(level_, level) != level) {
        keepAbove(*windowHandle(), level == WindowLevel::Maximum);
        if (strip_)
            keepAbove(*strip_->windowHandle(), level == WindowLevel::Maximum);
    }
}

// A screen reader reads the sentence first.
void PromptDialog::showHeader()
{
    showIcon(shown_.icon);
    header_.setSigner(shown_.signer);
    header_.setSentence(shown_.sentence, {shown_.displayName, shown_.file.text});
    header_.setDangerous(shown_.deservesCare);
    setAccessibleName("Vossel: " + shownText(shown_.sentence).text);
}

void PromptDialog::showIcon(const ImageSource& image)
{
    if (shownIcon_ == image)
        return;
    shownIcon_ = image;
    const int pixels = qRound(PromptHeader::iconSize * devicePixelRatioF());
    header_.setIcon(
        sharpPixmap(services_.image(image, pixels), PromptHeader::iconSize, devicePixelRatioF()));
}

void PromptDialog::showTimeLeft(std::chrono::milliseconds left, std::chrono::milliseconds whole)
{
    header_.setTimeLeft(std::chrono::ceil<std::chrono::seconds>(left).count());
    share_ = whole.count() > 0 ? double(left.count()) / double(whole.count()) : 0;
    update(0, height() - timeBarHeight - 1, width(), timeBarHeight + 1);
}

void PromptDialog::paintEvent(QPaintEvent*)
{
    const PromptTheme& theme = *services_.theme;
    QPainter painter(this);
    painter.fillRect(rect(), theme.window);
    const QRect bar(1, height() - 1 - timeBarHeight, width() - 2, timeBarHeight);
    painter.fillRect(bar, theme.border);
    painter.fillRect(QRect(bar.topLeft(), QSize(qRound(bar.width() * share_), bar.height())),
        share_ < 1.0 / 6 ? theme.danger : theme.accent);
    painter.setPen(theme.border);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
    // When this paint has been sent to the screen.
    if (std::exchange(firstPaint_, false))
        QTimer::singleShot(0, this, [this] { arm(); });
}

void PromptDialog::arm()
{
    arming_.appeared(services_.origins.now());
}

void PromptDialog::stayAbove()
{
    if (retired_ || level_ != WindowLevel::Maximum || QApplication::activePopupWidget()
        || shown_.tip)
        return;
    raise();
    if (strip_)
        strip_->raise();
}

// What was covered or away has not been seen meanwhile.
void PromptDialog::comeBack()
{
    if (retired_ || level_ != WindowLevel::Maximum || QApplication::activePopupWidget())
        return;
    arm();
    if (isMinimized())
        showNormal();
    stayAbove();
}

// Another window has taken the keyboard, or somebody has put this one away. It does not take the
// keyboard back: who would type a password meanwhile?
void PromptDialog::changeEvent(QEvent* event)
{
    QDialog::changeEvent(event);
    const bool away = event->type() == QEvent::WindowStateChange && isMinimized();
    const bool behind = event->type() == QEvent::ActivationChange && !isActiveWindow();
    if (isVisible() && (away || behind))
        QTimer::singleShot(0, this, [this] { comeBack(); });
}

// --- input --------------------------------------------------------------------------------------

bool PromptDialog::takesClick(const EventSource& source) const
{
    return !retired_ && !prompt_.refusesMouse(source);
}

bool PromptDialog::takesKey(const EventSource& source) const
{
    return !retired_ && !prompt_.refusesKey(source);
}

PressButton::Act PromptDialog::acting(std::function<void()> act)
{
    return [this, act = std::move(act)] {
        services_.later([window = QPointer<PromptDialog>(this), act] {
            if (!window || window->isRetired())
                return;
            act();
            // What the view model did not take must not stay on the screen either.
            if (window && !window->isRetired())
                window->sync();
        });
    };
}

PressButton::Act PromptDialog::actingForProgram(std::function<void()> act)
{
    return [this, act = acting(std::move(act))] {
        if (takesClick(unnamedProgram))
            act();
    };
}

PressButton::Act PromptDialog::carryingOut(const PromptAct& act)
{
    return acting([this, act] { (void)prompt_.carryOut(act); });
}

// A key that is held down decides once: its repetitions would answer the next prompt.
void PromptDialog::keyPressEvent(QKeyEvent* event)
{
    event->accept();
    if (isModifierKey(*event)) {
        if (event->key() == Qt::Key_Control)
            commandKeyChanged(true);
        return;
    }
    const KeyEvent key = toKeyEvent(*event, std::exchange(keySource_, {}));
    if (std::exchange(keyRepeated_, false) && !isArrow(key))
        return;
    acting([this, key] { prompt_.keyDown(key); })();
}

void PromptDialog::keyReleaseEvent(QKeyEvent* event)
{
    event->accept();
    if (event->key() == Qt::Key_Control)
        commandKeyChanged(false);
}

void PromptDialog::focusInEvent(QFocusEvent* event)
{
    commandKeyChanged(QGuiApplication::queryKeyboardModifiers().testFlag(Qt::ControlModifier));
    QDialog::focusInEvent(event);
}

void PromptDialog::focusOutEvent(QFocusEvent* event)
{
    commandKeyChanged(false);
    QDialog::focusOutEvent(event);
}

void PromptDialog::commandKeyChanged(bool down)
{
    acting([this, down] { prompt_.flagsChanged({.modifierFlags = down ? commandKeyFlag : 0}); })();
}

// The prompt can be moved away from what it stands on.
void PromptDialog::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && windowHandle())
        windowHandle()->startSystemMove();
}

// It goes when it has been answered.
void PromptDialog::closeEvent(QCloseEvent* event)
{
    if (retired_)
        return QDialog::closeEvent(event);
    event->ignore();
    services_.sound();
}

}
