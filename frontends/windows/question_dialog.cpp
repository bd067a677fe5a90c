#include "frontends/windows/question_dialog.h"

#include "frontends/windows/window_manager.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>
#include <string.h>
#include <utility>

namespace vossel {

namespace {

constexpr int widthInLayout = 420; // points
constexpr int margin = 20;
constexpr int maxLines = 6;

}

QuestionDialog::QuestionDialog(
    const PromptTheme& theme, std::string_view text, bool echo, Ended ended)
    : QDialog(nullptr, Qt::Dialog | Qt::WindowStaysOnTopHint)
    , theme_(theme)
    , ended_(std::move(ended))
    , title_(theme_, 16, QFont::Bold)
    , question_(theme_, 13)
    , told_(theme_, 13)
    , cancel_(theme_, PressButton::Look::Plain)
    , confirm_(theme_, PressButton::Look::Allow)
{
    setWindowTitle("Vossel");
    setPalette(theme_.palette());
    title_.setBytes("Vossel asks for an administrator");
    question_.setBytes(text);
    question_.setMaximumLines(maxLines);
    told_.setMaximumLines(maxLines);
    told_.setColor(theme_.caution);
    told_.hide();
    line_.setFont(layoutFont(14));
    line_.setEchoMode(echo ? QLineEdit::Normal : QLineEdit::Password);
    line_.setAccessibleName(QString::fromStdString(std::string(text)));
    line_.setContextMenuPolicy(Qt::NoContextMenu);
    cancel_.setText("Cancel");
    confirm_.setText("OK");
    cancel_.setAct([this] { reject(); });
    confirm_.setAct([this] { accept(); });

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(&cancel_);
    buttons->addWidget(&confirm_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(10);
    layout->addWidget(&title_);
    layout->addWidget(&told_);
    layout->addWidget(&question_);
    layout->addWidget(&line_);
    layout->addLayout(buttons);
    connect(&line_, &QLineEdit::returnPressed, this, [this] { accept(); });
}

void QuestionDialog::tell(std::string_view text)
{
    told_.setBytes(text);
    told_.show();
    setFixedHeight(layout()->totalHeightForWidth(width()));
}

void QuestionDialog::appear()
{
    const int width = qRound(widthInLayout * layoutScale());
    setFixedSize(width, layout()->totalHeightForWidth(width));
    const QRect room = QGuiApplication::primaryScreen()->availableGeometry();
    move(room.center() - QPoint(width / 2, height() / 2));
    (void)winId();
    showOnEveryWorkspace(*windowHandle());
    show();
    raise();
    activateWindow();
    line_.setFocus();
}

void QuestionDialog::done(int result)
{
    std::optional<std::string> answer;
    if (result == QDialog::Accepted)
        answer = takeText();
    QDialog::done(result);
    ended_(std::move(answer));
}

// Leaves no copy of its own in the widget.
std::string QuestionDialog::takeText()
{
    const QString text = line_.text();
    QByteArray bytes = text.toUtf8();
    std::string answer(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    ::explicit_bzero(bytes.data(), static_cast<std::size_t>(bytes.size()));
    ::explicit_bzero(const_cast<QChar*>(text.constData()),
        static_cast<std::size_t>(text.size()) * sizeof(QChar));
    line_.clear();
    return answer;
}

}
