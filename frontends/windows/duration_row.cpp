#include "frontends/windows/duration_row.h"

#include "ui/prompt/prompt_words.h"

#include <QHBoxLayout>

namespace vossel {

namespace {

// For accessibility tools and tests, which find buttons by these names.
constexpr std::array<const char*, DURATION_FOREVER + 1> objectNames{
    "once", "untilQuit", "untilRestart", "forever"};

}

DurationRow::DurationRow(
    const PromptTheme& theme, const std::function<PressButton::Act(std::int32_t code)>& chosen)
{
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    for (std::int32_t code = 0; code <= DURATION_FOREVER; ++code) {
        auto& button = buttons_[static_cast<std::size_t>(code)];
        button = std::make_unique<PressButton>(theme, PressButton::Look::Segment);
        const std::string_view title = shortDurationTitle(code);
        button->setText(QString::fromUtf8(title.data(), qsizetype(title.size())));
        button->setObjectName(objectNames[static_cast<std::size_t>(code)]);
        button->setAct(chosen(code));
        row->addWidget(button.get(), 1);
    }
}

void DurationRow::display(const PromptView& view)
{
    for (std::size_t code = 0; code < buttons_.size(); ++code) {
        buttons_[code]->setVisible(view.durations[code].present);
        if (std::cmp_equal(code, view.duration))
            buttons_[code]->setChecked(true);
    }
}

}
