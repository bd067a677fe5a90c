#include "frontends/windows/notice_windows.h"

#include "foundation/mutex.h"
#include "frontends/windows/press_button.h"
#include "frontends/windows/program_icons.h"
#include "frontends/windows/sharp_pixmap.h"
#include "frontends/windows/text_view.h"
#include "frontends/windows/window_manager.h"

#include <QCloseEvent>
#include <QEventLoop>
#include <QGridLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <memory>

namespace vossel {

namespace {

constexpr int widthInLayout = 360; // points
constexpr int margin = 14;
constexpr int gap = 10; // between notices and the screen's edges
constexpr int iconSize = 32;
constexpr int maxLines = 8;
constexpr std::size_t maxShown = 3;

class NoticeWindow final : public QWidget {
public:
    NoticeWindow(const PromptTheme& theme, const Notice& notice, std::function<void()> dismissed)
        : QWidget(nullptr,
            Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                | Qt::WindowDoesNotAcceptFocus)
        , theme_(theme)
        , dismissed_(std::move(dismissed))
    {
        setAttribute(Qt::WA_ShowWithoutActivating);
        setWindowTitle("Vossel");
        setPalette(theme_.palette());
        auto* layout = new QGridLayout(this);
        layout->setContentsMargins(margin, margin, margin, margin);
        layout->setHorizontalSpacing(12);
        const QImage image = ProgramIcons::load(notice.icon);
        if (!image.isNull()) {
            auto* icon = new QLabel;
            icon->setPixmap(sharpPixmap(image, iconSize, devicePixelRatioF()));
            layout->addWidget(icon, 0, 0, 2, 1, Qt::AlignTop);
        }
        auto* header = new TextView(theme_, 14, QFont::Bold);
        header->setMaximumLines(2);
        header->setBytes(notice.header);
        auto* message = new TextView(theme_, 13);
        message->setMaximumLines(maxLines);
        message->setBytes(notice.message);
        auto* button = new PressButton(theme_, PressButton::Look::Plain);
        button->setText(QString::fromStdString(notice.button));
        button->setAct([this] { close(); });
        layout->addWidget(header, 0, 1);
        layout->addWidget(message, 1, 1);
        layout->addWidget(button, 2, 1, Qt::AlignRight);
        layout->setColumnStretch(1, 1);
        const int width = qRound(widthInLayout * layoutScale());
        setFixedSize(width, layout->totalHeightForWidth(width));
    }

protected:
    void closeEvent(QCloseEvent*) override { dismissed_(); }
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.fillRect(rect(), theme_.window);
        painter.setPen(theme_.border);
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
    }

private:
    const PromptTheme theme_;
    const std::function<void()> dismissed_;
};

}

NoticeWindows::~NoticeWindows()
{
    closeAll();
}

void NoticeWindows::closeAll()
{
    while (!shown_.empty())
        close(shown_.front().number);
}

void NoticeWindows::display(const Notice& notice)
{
    mainThread_.perform([this, notice] { show(notice, {}); });
}

void NoticeWindows::displayAndWait(const Notice& notice)
{
    if (mainThread_.isCurrent()) {
        const auto loop = std::make_shared<QEventLoop>(); // which may end with the program first
        show(notice, [loop] { loop->quit(); });
        loop->exec();
        return;
    }
    struct Wait {
        Mutex mutex;
        Condition changed;
        bool over VOSSEL_GUARDED_BY(mutex) = false;
    };
    // What is not begun when the main thread has ended is never shown.
    bool begun = false;
    const auto wait = std::make_shared<Wait>();
    mainThread_.performAndWait([this, notice, wait, &begun] {
        begun = true;
        show(notice, [wait] {
            const MutexLock lock(wait->mutex);
            wait->over = true;
            wait->changed.notifyAll();
        });
    });
    if (!begun)
        return;
    MutexLock lock(wait->mutex);
    wait->changed.wait(lock, [&]() VOSSEL_REQUIRES(wait->mutex) { return wait->over; });
}

void NoticeWindows::show(const Notice& notice, std::function<void()> dismissed)
{
    const std::pair text(notice.header, notice.message);
    // One that somebody waits for stands until it is dismissed, whatever stands there already.
    const bool stands = !dismissed
        && std::any_of(
            shown_.begin(), shown_.end(), [&](const Shown& shown) { return shown.text == text; });
    if (stands)
        return;
    makeRoom();
    const unsigned number = ++lastNumber_;
    auto* window = new NoticeWindow(theme_, notice, [this, number] { close(number); });
    if (notice.timeoutSeconds > 0)
        QTimer::singleShot(
            std::chrono::seconds(notice.timeoutSeconds), window, [this, number] { close(number); });
    shown_.push_back({number, text, window, std::move(dismissed)});
    (void)window->winId();
    showOnEveryWorkspace(*window->windowHandle());
    place();
    window->show();
    shownOne_();
}

void NoticeWindows::makeRoom()
{
    const auto oldest = std::find_if(
        shown_.begin(), shown_.end(), [](const Shown& shown) { return !shown.dismissed; });
    if (shown_.size() >= maxShown && oldest != shown_.end())
        close(oldest->number);
}

// One above the other, the latest lowest, where a prompt covers it least.
void NoticeWindows::place()
{
    const QRect room = QGuiApplication::primaryScreen()->availableGeometry();
    int floor = room.bottom();
    for (auto shown = shown_.rbegin(); shown != shown_.rend(); ++shown) {
        floor -= gap + shown->window->height();
        shown->window->move(
            room.right() - shown->window->width() - gap, std::max(floor, room.top()));
    }
}

void NoticeWindows::close(unsigned number)
{
    const auto found = std::find_if(
        shown_.begin(), shown_.end(), [&](const Shown& shown) { return shown.number == number; });
    if (found == shown_.end())
        return;
    const Shown shown = std::move(*found);
    shown_.erase(found);
    shown.window->hide();
    shown.window->deleteLater();
    place();
    if (shown.dismissed)
        shown.dismissed();
}

}
