#include "frontends/windows/simple_dialog.h"

#include "frontends/windows/captions.h"
#include "prompting/permissions_manager.h"
#include "ui/prompt/permissions_texts.h"

#include <QGridLayout>
#include <QHBoxLayout>

namespace vossel {

namespace {

constexpr std::array<const char*, 3> titles{"Until it quits", "Until restart", "Forever"};
constexpr std::array<const char*, 3> names{"untilQuit", "untilRestart", "forever"};

}

SimpleDialog::SimpleDialog(Services given, QMSimplePermissionsWindow& prompt)
    : PromptDialog(std::move(given), prompt.frame())
    , prompt_(prompt)
    , scope_(*services().theme, 13)
    , parent_(*services().theme, 13)
    , choices_{
          {{&prompt.controls().untilQuitButtonCell, &QMSimplePermissionsWindow::clickedUntilQuit},
              {&prompt.controls().untilRestartButtonCell,
                  &QMSimplePermissionsWindow::clickedUntilRestart},
              {&prompt.controls().foreverButtonCell, &QMSimplePermissionsWindow::clickedForever}}}
{
    layOut();
    setKeys("Duration Ctrl+Q R F");
    connectDecisions([this] { prompt_.clickedDeny(); }, [this] { prompt_.clickedAllow(); });
    for (Choice& choice : choices_)
        choice.button->setAct(acting([this, choose = choice.choose] { (prompt_.*choose)(); }));
    extraButton().setText("Details");
    extraButton().setObjectName("details");
    extraButton().setVisible(true);
    extraButton().setAct(acting([this] { prompt_.clickedAdvanced(); }));
    if (prompt_.requireTouchBar())
        addTouchBar(prompt_);
}

void SimpleDialog::layOut()
{
    const PromptTheme& theme = *services().theme;
    auto* durations = new QHBoxLayout;
    durations->setSpacing(4);
    for (std::size_t i = 0; i < choices_.size(); ++i) {
        auto& button = choices_[i].button;
        button = std::make_unique<PressButton>(theme, PressButton::Look::Segment);
        button->setText(titles[i]);
        button->setObjectName(names[i]);
        durations->addWidget(button.get(), 1);
    }
    auto* grid = new QGridLayout(&body());
    grid->setContentsMargins(captionMargin, 12, captionMargin, 4);
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(7);
    grid->setColumnStretch(1, 1);
    grid->addWidget(caption("Parent", theme), 0, 0);
    grid->addWidget(&parent_, 0, 1);
    grid->addWidget(caption("Answer covers", theme), 1, 0);
    grid->addWidget(&scope_, 1, 1);
    grid->addWidget(caption("Duration", theme), 2, 0);
    grid->addLayout(durations, 2, 1);
}

void SimpleDialog::sync()
{
    PromptDialog::sync();
    const SimplePermissionsControls& controls = prompt_.controls();
    const policy_query& query = prompt_.policyQuery();
    const TextField& name = controls.applicationNameTextField;
    header().name.setFont(layoutFont(name.fontSize(), QFont::Bold));
    header().name.setBytes(name.stringValue());
    header().name.setTruncation(name.truncation());
    header().program.setBytes(applicationPathText(services().manager, query));
    header().setSigner(controls.informationTextField.stringValue(), prompt_.codeSignState());
    setSentence(controls.activityDescriptionTextField.stringValue(), query);
    header().setDangerous(prompt_.alertType() != ALERT_ORDINARY);
    parent_.setBytes(parentPathText(services().processes, query));
    scope_.setBytes(textOf(query.path));
    for (const Choice& choice : choices_) {
        choice.button->setVisible(!choice.state->hidden());
        if (choice.state->on())
            choice.button->setChecked(true);
    }
}

}
