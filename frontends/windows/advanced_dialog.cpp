#include "frontends/windows/advanced_dialog.h"

#include "frontends/windows/captions.h"
#include "frontends/windows/tip_panel.h"
#include "ui/prompt/prompt_words.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QScreen>

namespace vossel {

namespace {

using Kind = PromptAct::Kind;

}

AdvancedDialog::AdvancedDialog(Services given, ShownPrompt& prompt)
    : PromptDialog(std::move(given), prompt)
    , file_(*services().theme, 14, QFont::DemiBold)
    , parent_(*services().theme, 13)
    , paths_(*services().theme)
    , processes_(*services().theme)
    , operations_(*services().theme, PressButton::Look::Plain)
    , updates_(QString::fromUtf8(updatesTitle.data(), qsizetype(updatesTitle.size())))
    , durations_(*services().theme, [this](std::int32_t code) {
        return carryingOut({Kind::Duration, code});
    })
{
    layOut();
    connectControls();
}

AdvancedDialog::~AdvancedDialog() = default;

void AdvancedDialog::layOut()
{
    const PromptTheme& theme = *services().theme;
    file_.setObjectName("file");
    paths_.setObjectName("paths");
    processes_.setObjectName("processes");
    operations_.setObjectName("operations");
    updates_.setObjectName("updates");
    updates_.setFont(layoutFont(13));
    updates_.setFocusPolicy(Qt::NoFocus);
    auto* access = new QHBoxLayout;
    access->setSpacing(16);
    access->addWidget(&operations_);
    access->addWidget(&updates_);
    access->addStretch(1);
    auto* grid = new QGridLayout(&body());
    grid->setContentsMargins(captionMargin, 12, captionMargin, 4);
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(7);
    grid->setColumnStretch(1, 1);
    int row = 0;
    for (const auto& [text, control] : {std::pair<const char*, QWidget*>{"File", &file_},
             {"Parent", &parent_}, {"Answer covers", &paths_}, {"For", &processes_}}) {
        grid->addWidget(caption(text, theme), row, 0);
        grid->addWidget(control, row++, 1);
    }
    paths_.setAccessibleName("The answer covers");
    processes_.setAccessibleName("The answer is for");
    grid->addWidget(caption("Access", theme), row, 0);
    grid->addLayout(access, row++, 1);
    grid->addWidget(caption("Duration", theme), row, 0);
    grid->addWidget(&durations_, row, 1);
}

void AdvancedDialog::connectControls()
{
    setKeys("Duration Ctrl+O Q R F · Path ← → · Process ↑ ↓");
    paths_.setChosen([this](std::int64_t index) { carryingOut({Kind::Path, index})(); });
    processes_.setChosen([this](std::int64_t index) { carryingOut({Kind::Process, index})(); });
    operations_.setAct(carryingOut({Kind::Operations}));
    connect(&updates_, &QCheckBox::clicked, this, [this](bool checked) {
        carryingOut({Kind::Updates, checked ? 1 : 0})();
    });
}

void AdvancedDialog::display(const PromptView& view)
{
    header().name.setBytes(view.displayName);
    const std::pair<TextView*, const PromptView::Text*> texts[]
        = {{&header().program, &view.application}, {&file_, &view.file}, {&parent_, &view.parent}};
    for (const auto& [shown, text] : texts) {
        shown->setBytes(text->text);
        shown->setTruncation(text->truncation);
    }
    paths_.display(view.paths);
    processes_.display(view.processes);
    operations_.setText(QString::fromStdString(view.operations));
    operations_.setAccessibleName("Access: " + operations_.text());
    updates_.setVisible(!view.updates.hidden);
    updates_.setEnabled(view.updates.enabled);
    updates_.setChecked(view.updates.checked);
    durations_.display(view);
    displayTip(view.tip);
}

void AdvancedDialog::displayTip(const std::optional<TipWindow>& tip)
{
    if (!tip) {
        tip_.reset();
        return;
    }
    if (!tip_)
        tip_ = std::make_unique<TipPanel>(*services().theme, this);
    const int floor = screen()->virtualGeometry().bottom() + 1;
    tip_->showAt(
        *tip, QPoint(qRound(tip->frame.x), floor - qRound(tip->frame.y + tip->frame.height)));
}

void AdvancedDialog::placed()
{
    prompt().moveWindow(frameOnScreen());
    const std::pair<ShownPrompt::Field, const TextView*> fields[] = {
        {ShownPrompt::Field::File, &file_},
        {ShownPrompt::Field::Application, &header().program},
        {ShownPrompt::Field::Parent, &parent_},
        {ShownPrompt::Field::Signer, &header().signer},
    };
    for (const auto& [field, view] : fields)
        prompt().moveField(field, frameInWindow(*view));
}

void AdvancedDialog::mouseMovedTo(QPointF position)
{
    if (isRetired())
        return;
    const QPointF inside = position - QPointF(pos());
    prompt().mouseMoved({inside.x(), height() - inside.y()});
}

}
