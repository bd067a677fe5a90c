#include "frontends/windows/application_windows.h"

#include "app/about_window_controller.h"
#include "frontends/windows/first_run_dialog.h"
#include "frontends/windows/sharp_pixmap.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>

namespace vossel {

namespace {

constexpr double lockSize = 128;
constexpr int aboutMargin = 28;

// The user closes it; nobody else needs to be told.
class AboutDialog final : public QWidget {
public:
    AboutDialog(const PromptTheme& theme, AboutWindowController& controller)
        : QWidget(nullptr, Qt::Window)
        , theme_(theme)
        , controller_(controller)
    {
        setWindowTitle("About Vossel");
        setPalette(theme_.palette());
        auto* lock = new QLabel;
        lock->setPixmap(resourcePixmap("lock_128x128.png", lockSize, devicePixelRatioF()));
        auto* name = new QLabel("Vossel");
        name->setFont(layoutFont(24, QFont::Bold));
        auto* version = new TextView(theme_, 13);
        version->setTruncation(controller.versionTextField.truncation());
        version->setBytes(controller.versionTextField.stringValue());
        version->setMinimumWidth(
            version->sizeHint().width() < 400 ? version->sizeHint().width() : 400);
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(aboutMargin, aboutMargin, aboutMargin, aboutMargin);
        layout->setSpacing(10);
        layout->addWidget(lock, 0, Qt::AlignCenter);
        layout->addWidget(name, 0, Qt::AlignCenter);
        layout->addWidget(version, 0, Qt::AlignCenter);
        setFixedSize(layout->sizeHint());
    }

protected:
    void closeEvent(QCloseEvent* event) override
    {
        event->ignore();
        QTimer::singleShot(0, this, [this] { controller_.close(); });
    }

private:
    const PromptTheme theme_;
    AboutWindowController& controller_;
};

}

ApplicationWindows::ApplicationWindows() = default;

ApplicationWindows::~ApplicationWindows()
{
    for (const auto& [controller, window] : firstRuns_)
        delete window;
    for (const auto& [controller, window] : abouts_)
        delete window;
}

void ApplicationWindows::firstRunOpened(QMFirstRunWindowController& window)
{
    auto* shown = new FirstRunDialog(theme_, window);
    firstRuns_[&window] = shown;
    shown->appear();
}

void ApplicationWindows::firstRunChanged(QMFirstRunWindowController& window)
{
    const auto shown = firstRuns_.find(&window);
    if (shown != firstRuns_.end())
        shown->second->sync();
}

void ApplicationWindows::firstRunClosed(QMFirstRunWindowController& window)
{
    const auto shown = firstRuns_.find(&window);
    if (shown == firstRuns_.end())
        return;
    shown->second->retire();
    firstRuns_.erase(shown);
}

void ApplicationWindows::aboutOpened(AboutWindowController& window)
{
    auto* shown = new AboutDialog(theme_, window);
    abouts_[&window] = shown;
    const QRect room = QGuiApplication::primaryScreen()->availableGeometry();
    shown->move(room.center() - QPoint(shown->width() / 2, shown->height() / 2));
    shown->show();
    shown->raise();
    shown->activateWindow();
}

void ApplicationWindows::aboutClosed(AboutWindowController& window)
{
    const auto shown = abouts_.find(&window);
    if (shown == abouts_.end())
        return;
    shown->second->hide();
    shown->second->deleteLater();
    abouts_.erase(shown);
}

}
