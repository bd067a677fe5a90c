#pragma once

#include "frontends/windows/prompt_theme.h"
#include "frontends/windows/text_view.h"
#include "ui/prompt/prompt_view.h"

#include <QLabel>
#include <QPixmap>
#include <QWidget>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vossel {

// The head of a prompt: who is asking, and in one sentence for what. Main thread.
class PromptHeader final : public QWidget {
public:
    explicit PromptHeader(const PromptTheme& theme);

    TextView name;
    TextView program; // path and process
    TextView signer;

    // In points. A program without an icon gets an empty place of that size.
    static constexpr int iconSize = 64;
    void setIcon(const QPixmap& icon);
    // `names` may occur in the text; one that is too long is cut there, so that the verb stays.
    void setSentence(std::string_view text, const std::vector<std::string>& names);
    void setSigner(const PromptView::Signer& found);
    // Whether the attempt deserves more care than others.
    void setDangerous(bool dangerous);
    void setTimeLeft(std::int64_t seconds);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const PromptTheme& theme_;
    TextView sentence_;
    QLabel icon_;
    QLabel badge_;
    QLabel caution_;
    QLabel time_;
    bool dangerous_ = false;
};

}
