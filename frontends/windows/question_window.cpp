#include "frontends/windows/question_window.h"

#include "frontends/windows/question_dialog.h"

#include <utility>

namespace vossel {

QuestionWindow::QuestionWindow() = default;

QuestionWindow::~QuestionWindow() = default;

void QuestionWindow::ask(const std::string& text, bool echo, Answer answer)
{
    answer_ = std::move(answer);
    dialog_ = std::make_unique<QuestionDialog>(
        theme_, text, echo, [this](std::optional<std::string> typed) { end(std::move(typed)); });
    if (!told_.empty())
        dialog_->tell(std::exchange(told_, {}));
    dialog_->appear();
}

void QuestionWindow::tell(const std::string& text)
{
    if (dialog_)
        dialog_->tell(text);
    else
        told_ = text;
}

void QuestionWindow::withdraw()
{
    answer_ = nullptr;
    if (!dialog_)
        return;
    dialog_->hide();
    dialog_.release()->deleteLater();
}

// Called from within the dialog, which is deleted later for that reason.
void QuestionWindow::end(std::optional<std::string> answer)
{
    if (dialog_)
        dialog_.release()->deleteLater();
    if (const Answer take = std::exchange(answer_, nullptr))
        take(std::move(answer));
}

}
