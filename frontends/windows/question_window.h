#pragma once

#include "frontends/windows/prompt_theme.h"
#include "platform/person_question.h"

#include <memory>
#include <optional>
#include <string>

namespace vossel {

class QuestionDialog;

// Asks for passwords in a window of its own, before the prompt that it is about. Main thread.
class QuestionWindow final : public PersonQuestion {
public:
    QuestionWindow();
    ~QuestionWindow() override;

    void setColorScheme(ColorScheme scheme) { theme_ = PromptTheme(scheme); }

    void ask(const std::string& text, bool echo, Answer answer) override;
    void tell(const std::string& text) override;
    void withdraw() override;

private:
    void end(std::optional<std::string> answer);

    PromptTheme theme_{ColorScheme::Light};
    std::unique_ptr<QuestionDialog> dialog_;
    Answer answer_;
    std::string told_; // came before its question
};

}
