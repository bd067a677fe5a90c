#include "frontends/windows/advanced_dialog.h"

#include "frontends/windows/captions.h"
#include "frontends/windows/tip_panel.h"
#include "prompting/permissions_manager.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QScreen>

namespace vossel {

namespace {

constexpr std::array<const char*, DURATION_FOREVER + 1> durationTitles{
    "Once", "Until it quits", "Until restart", "Forever"};
constexpr std::array<const char*, DURATION_FOREVER + 1> durationNames{
    "once", "untilQuit", "untilRestart", "forever"};

}

AdvancedDialog::AdvancedDialog(Services given, QMPermissionsWindow& prompt)
    : PromptDialog(std::move(given), prompt.frame())
    , prompt_(prompt)
    , recommendedProcess_(prompt.controls().applicationNamePopUp.selectedIndex())
    , file_(*services().theme, 14, QFont::DemiBold)
    , parent_(*services().theme, 13)
    , paths_(*services().theme)
    , processes_(*services().theme)
    , operations_(*services().theme, PressButton::Look::Plain)
    , updates_("Updates of this program too")
{
    for (auto& duration : durations_)
        duration = std::make_unique<PressButton>(*services().theme, PressButton::Look::Segment);
    layOut();
    connectControls();
    if (prompt_.requireTouchBar())
        addTouchBar(prompt_);
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
    auto* durations = new QHBoxLayout;
    durations->setSpacing(4);
    for (std::size_t code = 0; code < durations_.size(); ++code) {
        durations_[code]->setText(durationTitles[code]);
        durations_[code]->setObjectName(durationNames[code]);
        durations->addWidget(durations_[code].get(), 1);
    }

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
    grid->addLayout(durations, row, 1);
}

void AdvancedDialog::connectControls()
{
    setKeys("Duration Ctrl+O Q R F · Path ← → · Process ↑ ↓");
    connectDecisions([this] { prompt_.clickedDeny(); }, [this] { prompt_.clickedAllow(); });
    paths_.setChosen(
        [this](std::int64_t index) { acting([this, index] { prompt_.selectPath(index); })(); });
    processes_.setChosen([this](std::int64_t index) {
        acting([this, index] { prompt_.selectedProcessItem(index); })();
    });
    operations_.setAct(acting([this] { prompt_.clickedOperations(); }));
    connect(&updates_, &QCheckBox::clicked, this,
        [this](bool checked) { acting([this, checked] { prompt_.setAllowUpdates(checked); })(); });
    for (std::int32_t code = 0; code <= DURATION_FOREVER; ++code)
        durations_[static_cast<std::size_t>(code)]->setAct(
            acting([this, code] { prompt_.selectSegmentWithTag(code); }));
}

void AdvancedDialog::sync()
{
    PromptDialog::sync();
    const PermissionsControls& controls = prompt_.controls();
    header().name.setBytes(services().manager.manicureDisplayPathForQuery(prompt_.policyQuery()));
    header().program.setBytes(controls.applicationPathTextField.stringValue());
    header().program.setTruncation(controls.applicationPathTextField.truncation());
    header().setSigner(controls.codeSignTextField.stringValue(), prompt_.codeSignState());
    setSentence(controls.activityDescriptionTextField.stringValue(), prompt_.policyQuery());
    header().setDangerous(prompt_.alertType() != ALERT_ORDINARY);
    file_.setBytes(controls.filenameTextField.stringValue());
    file_.setTruncation(controls.filenameTextField.truncation());
    parent_.setBytes(controls.applicationParentPathTextField.stringValue());
    parent_.setTruncation(controls.applicationParentPathTextField.truncation());
    paths_.display(controls.pathPopUpControl, prompt_.recommendedIndex());
    processes_.display(controls.applicationNamePopUp, recommendedProcess_);
    operations_.setText(QString::fromStdString(controls.operationsButton.title()));
    operations_.setAccessibleName("Access: " + operations_.text());
    const CheckBox& updates = controls.allowUpdatesCheckBox;
    updates_.setVisible(!updates.hidden());
    updates_.setEnabled(updates.enabled());
    updates_.setChecked(updates.checked());
    syncDuration();
    syncTip();
}

void AdvancedDialog::syncDuration()
{
    const SegmentedControl& segments = prompt_.controls().durationSegmentedControl;
    for (std::int32_t code = 0; code <= DURATION_FOREVER; ++code) {
        PressButton& button = *durations_[static_cast<std::size_t>(code)];
        button.setVisible(code < segments.segmentCount());
        if (code == segments.selectedSegment())
            button.setChecked(true);
    }
}

void AdvancedDialog::syncTip()
{
    const auto& tip = prompt_.frame().window.state().tip;
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
    prompt_.moveWindow(frameOnScreen());
    const std::pair<ShownPrompt::Field, const TextView*> fields[] = {
        {ShownPrompt::Field::File, &file_},
        {ShownPrompt::Field::Application, &header().program},
        {ShownPrompt::Field::Parent, &parent_},
        {ShownPrompt::Field::Signer, &header().signer},
    };
    for (const auto& [field, view] : fields)
        prompt_.moveField(field, frameInWindow(*view));
}

void AdvancedDialog::mouseMovedTo(QPointF position)
{
    if (isRetired())
        return;
    const QPointF inside = position - QPointF(pos());
    prompt_.mouseMoved({inside.x(), height() - inside.y()});
}

}
