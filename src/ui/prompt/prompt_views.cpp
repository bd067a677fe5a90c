#include "prompting/alert_message.h"
#include "ui/prompt/prompt_words.h"
#include "ui/prompt/qm_permissions_window.h"
#include "ui/prompt/qm_simple_permissions_window.h"

// What each prompt shows, read from its controls.

namespace vossel {

namespace {

PromptView::Text fieldText(const TextField& field)
{
    return {field.stringValue(), field.truncation(), field.fontSize()};
}

PromptView::Signer signerOf(const TextField& field, std::int32_t state)
{
    return {field.stringValue(), state, signatureSentence(field.stringValue(), state)};
}

// `recommended` is the index of one of the control's items.
PromptView::Choices choicesOf(const PopUpButton& popUp, std::int64_t recommended)
{
    PromptView::Choices choices;
    for (const PopUpItem& item : popUp.items())
        choices.entries.push_back({item.title, item.tag});
    choices.selected = popUp.selectedIndex();
    choices.recommended = recommended;
    choices.enabled = popUp.enabled();
    choices.title = popUp.title();
    return choices;
}

void separateTitleEntry(PromptView::Choices& choices)
{
    if (choices.entries.empty())
        return;
    choices.titleEntry = std::move(choices.entries.front());
    choices.entries.erase(choices.entries.begin());
    --choices.selected;
    --choices.recommended;
}

void setDuration(PromptView& view, std::int32_t code, bool present)
{
    view.durations[static_cast<std::size_t>(code)] = {std::string(durationTitle(code)), present};
}

}

PromptView QMPermissionsWindow::view() const
{
    PromptView view = frame_.view();
    view.kind = PromptView::Kind::Advanced;
    view.sentence = controls_.activityDescriptionTextField.stringValue();
    view.alertType = alertType_;
    view.deservesCare = alertType_ != ALERT_ORDINARY;
    view.pid = query_.pid;
    view.displayName = displayName_;
    view.name.text = displayName_;
    view.application = fieldText(controls_.applicationPathTextField);
    view.parent = fieldText(controls_.applicationParentPathTextField);
    view.file = fieldText(controls_.filenameTextField);
    view.signer = signerOf(controls_.codeSignTextField, codeSignState_);

    const SegmentedControl& segments = controls_.durationSegmentedControl;
    for (std::int32_t code = DURATION_ONCE; code <= DURATION_FOREVER; ++code)
        setDuration(view, code, code < segments.segmentCount());
    view.duration = segments.selectedSegment();

    view.paths = choicesOf(controls_.pathPopUpControl, recommendedIndex_);
    view.processes = choicesOf(controls_.applicationNamePopUp, processIndex_);
    for (const auto& [index, path] : ancestors_)
        view.processes.entries.at(static_cast<std::size_t>(index)).path = path;
    if (controls_.applicationNamePopUp.pullsDown())
        separateTitleEntry(view.processes);
    view.operations = controls_.operationsButton.title();
    view.updates = controls_.allowUpdatesCheckBox.state();
    view.installerPid = installerPID_;
    return view;
}

PromptView QMSimplePermissionsWindow::view() const
{
    PromptView view = frame_.view();
    view.kind = PromptView::Kind::Simple;
    view.sentence = controls_.activityDescriptionTextField.stringValue();
    view.alertType = alertType_;
    view.deservesCare = alertType_ != ALERT_ORDINARY;
    view.pid = query_.pid;
    view.displayName = controls_.applicationNameTextField.stringValue();
    view.name = fieldText(controls_.applicationNameTextField);
    view.application.text = applicationText_;
    view.parent.text = parentText_;
    view.file.text = textOf(query_.path);
    view.signer = signerOf(controls_.informationTextField, codeSignState_);
    setDuration(view, DURATION_UNTIL_QUIT, true);
    setDuration(view, DURATION_UNTIL_RESTART, true);
    setDuration(view, DURATION_FOREVER, !controls_.foreverButtonCell.hidden());
    setDuration(view, DURATION_ONCE, false);
    view.duration = selectedDuration();
    return view;
}

}
