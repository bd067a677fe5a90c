#pragma once

#include "frontends/windows/prompt_theme.h"
#include "frontends/windows/shown_text.h"
#include "ui/prompt/prompt_view.h"

#include <QComboBox>

#include <cstdint>
#include <functional>

namespace vossel {

// A pop-up of which one entry is chosen and one is recommended. Entries are texts of anybody's
// choice, elided in their middle; none makes it wider. The wheel changes nothing. Main thread.
class ChoiceBox final : public QComboBox {
public:
    explicit ChoiceBox(const PromptTheme& theme);

    void display(const PromptView::Choices& choices);
    // Called with the index of the entry that the user has chosen.
    void setChosen(std::function<void(std::int64_t)> chosen) { chosen_ = std::move(chosen); }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    void showPopup() override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    class EntryDelegate;

    void paintEntry(QPainter& painter, const QRect& room, int entry, const QColor& ink,
        const QColor& sign) const;

    const PromptTheme& theme_;
    std::function<void(std::int64_t)> chosen_;
    PromptView::Choices shown_;
    std::vector<ShownText> texts_; // of the entries
};

}
