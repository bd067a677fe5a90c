#include "frontends/windows/first_run_dialog.h"

#include "app/qm_first_run_window_controller.h"
#include "frontends/windows/sharp_pixmap.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QScreen>
#include <QVBoxLayout>

namespace vossel {

namespace {

constexpr int widthInLayout = 520; // points
constexpr int margin = 24;
constexpr int maxLines = 4;

}

FirstRunDialog::FirstRunDialog(const PromptTheme& theme, QMFirstRunWindowController& controller)
    : QWidget(nullptr, Qt::Window | Qt::WindowStaysOnTopHint)
    , theme_(theme)
    , controller_(controller)
    , title_(theme_, 20, QFont::Bold)
    , text_(theme_, 13)
    , finish_(theme_, PressButton::Look::Plain, 14)
{
    setWindowTitle("Vossel");
    setPalette(theme_.palette());
    title_.setBytes("Vossel is getting to know this computer");
    text_.setMaximumLines(maxLines);
    text_.setBytes(
        "Use your programs as usual. While the bar fills, Vossel notes what the computer "
        "needs to work; then it offers you the rules that come of it.");
    finish_.setObjectName("finish");
    finish_.setAct([this] { controller_.clickedFinished(); });
    progress_.setTextVisible(false);
    progress_.setAccessibleName("Progress of the first run");
    layOut();
    sync();
}

void FirstRunDialog::layOut()
{
    auto* pictures = new QHBoxLayout;
    pictures->addStretch(1);
    for (QLabel* picture : {&lock_, &arrows_, &computer_})
        pictures->addWidget(picture, 0, Qt::AlignVCenter);
    pictures->addStretch(1);
    pictures->setSpacing(20);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(12);
    layout->addLayout(pictures);
    layout->addWidget(&title_);
    layout->addWidget(&text_);
    layout->addWidget(&progress_);
    layout->addWidget(&finish_, 0, Qt::AlignRight);
}

void FirstRunDialog::appear()
{
    const int width = qRound(widthInLayout * layoutScale());
    setFixedSize(width, layout()->totalHeightForWidth(width));
    const QRect room = QGuiApplication::primaryScreen()->availableGeometry();
    move(room.center() - QPoint(width / 2, height() / 2));
    show();
    raise();
    activateWindow();
}

void FirstRunDialog::sync()
{
    for (const auto& [label, view] :
        {std::pair<QLabel*, const ImageView*>{&lock_, &controller_.vosselImageView},
            {&arrows_, &controller_.arrowsImageView},
            {&computer_, &controller_.computerImageView}}) {
        const ImageSource& image = view->image();
        if (label->pixmap().isNull() && image.kind == ImageSource::Kind::Resource)
            label->setPixmap(resourcePixmap(
                QString::fromStdString(image.path), image.width, devicePixelRatioF()));
    }
    const ProgressIndicatorState& progress = controller_.progressIndicator.state();
    progress_.setVisible(!progress.hidden);
    progress_.setRange(
        qRound(progress.minValue), progress.indeterminate ? 0 : qRound(progress.maxValue));
    progress_.setValue(qRound(progress.doubleValue));
    finish_.setText(QString::fromStdString(controller_.finishButton.title()));
}

void FirstRunDialog::retire()
{
    retired_ = true;
    hide();
    deleteLater();
}

void FirstRunDialog::closeEvent(QCloseEvent* event)
{
    event->ignore();
    if (!retired_)
        controller_.clickedFinished();
}

}
