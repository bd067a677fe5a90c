#include "frontends/terminal/prompt_view.h"

#include "prompting/permissions_manager.h"
#include "ui/prompt/permissions_texts.h"
#include "ui/prompt/qm_permissions_window.h"
#include "ui/prompt/qm_simple_permissions_window.h"

#include <array>

namespace vossel {

namespace {

constexpr std::array<TerminalView::Duration, DURATION_FOREVER + 1> durations{{
    {"^O", "once", false},
    {"^Q", "until it quits", false},
    {"^R", "until restart", false},
    {"^F", "forever", false},
}};

TerminalView::Duration duration(std::int32_t code, std::int32_t selected)
{
    TerminalView::Duration shown = durations[static_cast<std::size_t>(code)];
    shown.selected = code == selected;
    return shown;
}

// Whoever has no signature says so in no words at all.
TerminalView::Fact signerFact(const TextField& text, std::int32_t codeSignState)
{
    std::string signer = text.stringValue();
    if (signer.empty())
        signer = codeSignState == CODE_SIGN_UNSIGNED ? "nobody" : "unknown";
    return {"Signed by", {}, signer, codeSignState != CODE_SIGN_VALID};
}

template <class Prompt>
TerminalView commonView(const Prompt& prompt, const TextField& sentence)
{
    const PromptFrame& frame = prompt.frame();
    TerminalView view;
    view.sentence = sentence.stringValue();
    view.dangerous = prompt.alertType() != ALERT_ORDINARY;
    view.answered = !prompt.requireTouchBar();
    view.allowHighlighted = frame.allowButton.highlighted();
    return view;
}

TerminalView::Choices choicesOf(const PopUpButton& popUp, std::int64_t recommended)
{
    TerminalView::Choices choices;
    const std::int64_t first = popUp.pullsDown() ? 1 : 0; // a pull-down's item 0 is its title
    for (std::int64_t index = first; index < popUp.numberOfItems(); ++index)
        choices.titles.push_back(popUp.items()[static_cast<std::size_t>(index)].title);
    choices.selected = popUp.selectedIndex() - first;
    choices.recommended = recommended - first;
    choices.enabled = popUp.enabled();
    return choices;
}

}

TerminalView viewOf(const QMPermissionsWindow& prompt, const PermissionsManager& manager,
    std::int64_t recommendedProcess)
{
    const PermissionsControls& controls = prompt.controls();
    TerminalView view = commonView(prompt, controls.activityDescriptionTextField);
    view.advanced = true;
    view.facts = {
        {"File", {}, controls.filenameTextField.stringValue()},
        {"Program", manager.manicureDisplayPathForQuery(prompt.policyQuery()),
            controls.applicationPathTextField.stringValue()},
        {"Parent", {}, controls.applicationParentPathTextField.stringValue()},
        signerFact(controls.codeSignTextField, prompt.codeSignState()),
    };
    view.paths = choicesOf(controls.pathPopUpControl, prompt.recommendedIndex());
    view.processes = choicesOf(controls.applicationNamePopUp, recommendedProcess);
    view.operations = controls.operationsButton.title();
    const CheckBox& updates = controls.allowUpdatesCheckBox;
    if (!updates.hidden())
        view.updates = TerminalView::Updates{updates.checked(), updates.enabled()};
    const SegmentedControl& segments = controls.durationSegmentedControl;
    for (std::int32_t code = DURATION_ONCE; code < segments.segmentCount(); ++code)
        view.durations.push_back(duration(code, segments.selectedSegment()));
    return view;
}

TerminalView viewOf(const QMSimplePermissionsWindow& prompt, const PermissionsManager& manager,
    const Processes& processes)
{
    const SimplePermissionsControls& controls = prompt.controls();
    const policy_query& query = prompt.policyQuery();
    TerminalView view = commonView(prompt, controls.activityDescriptionTextField);
    view.facts = {
        {"Program", controls.applicationNameTextField.stringValue(),
            applicationPathText(manager, query)},
        {"Parent", {}, parentPathText(processes, query)},
        signerFact(controls.informationTextField, prompt.codeSignState()),
    };
    for (const std::int32_t code :
        {DURATION_UNTIL_QUIT, DURATION_UNTIL_RESTART, DURATION_FOREVER}) {
        if (code != DURATION_FOREVER || !controls.foreverButtonCell.hidden())
            view.durations.push_back(duration(code, prompt.selectedDuration()));
    }
    return view;
}

}
