#pragma once

#include "frontends/windows/press_button.h"
#include "frontends/windows/text_view.h"

#include <QDialog>
#include <QLineEdit>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vossel {

// One question that a person answers by typing. Main thread.
class QuestionDialog final : public QDialog {
public:
    // Gets what was typed, or nothing from a person who would not say.
    using Ended = std::function<void(std::optional<std::string>)>;

    QuestionDialog(const PromptTheme& theme, std::string_view text, bool echo, Ended ended);

    void tell(std::string_view text);
    void appear();

    void done(int result) override;

private:
    [[nodiscard]] std::string takeText();

    const PromptTheme theme_;
    const Ended ended_;
    TextView title_;
    TextView question_;
    TextView told_;
    QLineEdit line_;
    PressButton cancel_;
    PressButton confirm_;
};

}
