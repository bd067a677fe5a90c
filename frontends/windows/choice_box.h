#pragma once

#include "frontends/windows/prompt_theme.h"
#include "frontends/windows/shown_text.h"
#include "ui/controls/pop_up_button.h"

#include <QComboBox>

#include <cstdint>
#include <functional>

namespace vossel {

// A pop-up of which one entry is chosen and one is recommended. Entries are texts of anybody's
// choice, elided in their middle; none makes it wider. The wheel changes nothing. Main thread.
class ChoiceBox final : public QComboBox {
public:
    explicit ChoiceBox(const PromptTheme& theme);

    // The entries as the control has them; a pull-down's item 0, its title, is left out.
    // `recommended` is the index of one of the control's items, or -1.
    void display(const PopUpButton& control, std::int64_t recommended);
    // Called with the index of the control's item that the user has chosen.
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
    std::vector<PopUpItem> shown_;
    std::vector<ShownText> texts_; // of the entries
    std::int64_t recommended_ = -1;
    int first_ = 0; // index of the item that is entry 0
};

}
