#include "frontends/windows/simple_dialog.h"

#include "frontends/windows/captions.h"
#include "ui/prompt/prompt_words.h"

#include <QGridLayout>

namespace vossel {

using Kind = PromptAct::Kind;

SimpleDialog::SimpleDialog(Services given, ShownPrompt& prompt)
    : PromptDialog(std::move(given), prompt)
    , scope_(*services().theme, 13)
    , parent_(*services().theme, 13)
    , durations_(*services().theme, [this](std::int32_t code) {
        return carryingOut({Kind::Duration, code});
    })
{
    layOut();
    setKeys("Duration Ctrl+Q R F");
    extraButton().setText(QString::fromUtf8(detailsTitle.data(), qsizetype(detailsTitle.size())));
    extraButton().setObjectName("details");
    extraButton().setVisible(true);
    extraButton().setAct(carryingOut({Kind::Advanced}));
}

void SimpleDialog::layOut()
{
    const PromptTheme& theme = *services().theme;
    auto* grid = new QGridLayout(&body());
    grid->setContentsMargins(captionMargin, 12, captionMargin, 4);
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(7);
    grid->setColumnStretch(1, 1);
    int row = 0;
    for (const auto& [text, control] : {std::pair<const char*, QWidget*>{"Parent", &parent_},
             {"Answer covers", &scope_}, {"Duration", &durations_}}) {
        grid->addWidget(caption(text, theme), row, 0);
        grid->addWidget(control, row++, 1);
    }
}

void SimpleDialog::display(const PromptView& view)
{
    header().name.setFont(layoutFont(view.name.fontSize, QFont::Bold));
    header().name.setBytes(view.name.text);
    header().name.setTruncation(view.name.truncation);
    header().program.setBytes(view.application.text);
    parent_.setBytes(view.parent.text);
    scope_.setBytes(view.file.text);
    durations_.display(view);
}

}
