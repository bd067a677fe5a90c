#include "ui/prompt/qm_permissions_window.h"
#include "ui/prompt/qm_simple_permissions_window.h"

// What each prompt does for an act, as a click on the control would, and why it does not.

namespace vossel {

namespace {

using Kind = PromptAct::Kind;

constexpr char absent[] = "this prompt has no such control";
constexpr char disabled[] = "this control is disabled";
constexpr char hiddenControl[] = "this control is hidden";
constexpr char noEntry[] = "there is no such entry";
constexpr char noDuration[] = "this prompt has no such duration";

// The prompt may be gone afterwards.
template <class Prompt>
Refusal decide(Kind kind, Prompt& prompt)
{
    const PromptFrame& frame = prompt.frame();
    if (prompt.requireTouchBar())
        return "this prompt is answered on the touch bar";
    if ((kind == Kind::Allow ? frame.allowButton : frame.denyButton).hidden())
        return hiddenControl;
    if (kind == Kind::Allow)
        prompt.clickedAllow();
    else
        prompt.clickedDeny();
    return std::nullopt;
}

Refusal selectPath(QMPermissionsWindow& prompt, std::int64_t index)
{
    if (!prompt.controls().pathPopUpControl.enabled())
        return disabled;
    return prompt.selectPath(index) ? Refusal() : noEntry;
}

// Item 0 of the control is its title.
Refusal selectProcess(QMPermissionsWindow& prompt, std::int64_t index)
{
    return prompt.selectedProcessItem(index + 1) ? Refusal() : noEntry;
}

Refusal selectSegment(QMPermissionsWindow& prompt, std::int64_t code)
{
    if (code < 0 || code >= prompt.controls().durationSegmentedControl.segmentCount())
        return noDuration;
    prompt.selectSegmentWithTag(static_cast<std::int32_t>(code));
    return std::nullopt;
}

Refusal setUpdates(QMPermissionsWindow& prompt, bool on)
{
    if (prompt.controls().allowUpdatesCheckBox.hidden())
        return hiddenControl;
    return prompt.setAllowUpdates(on) ? Refusal() : disabled;
}

Refusal selectDuration(QMSimplePermissionsWindow& prompt, std::int64_t code)
{
    if (code == DURATION_UNTIL_QUIT)
        prompt.clickedUntilQuit();
    else if (code == DURATION_UNTIL_RESTART)
        prompt.clickedUntilRestart();
    else if (code != DURATION_FOREVER || prompt.controls().foreverButtonCell.hidden())
        return noDuration;
    else
        prompt.clickedForever();
    // Forever is refused as well where the user has lost the right to make rules meanwhile.
    return prompt.selectedDuration() == code ? Refusal() : "this duration cannot be chosen";
}

}

Refusal QMPermissionsWindow::carryOut(const PromptAct& act)
{
    switch (act.kind) {
    case Kind::Allow:
    case Kind::Deny:
        return decide(act.kind, *this);
    case Kind::Path:
        return vossel::selectPath(*this, act.number);
    case Kind::Process:
        return vossel::selectProcess(*this, act.number);
    case Kind::Duration:
        return selectSegment(*this, act.number);
    case Kind::Operations:
        clickedOperations();
        return std::nullopt;
    case Kind::Updates:
        return setUpdates(*this, act.number == 1);
    case Kind::Advanced:
        break;
    }
    return absent;
}

Refusal QMSimplePermissionsWindow::carryOut(const PromptAct& act)
{
    switch (act.kind) {
    case Kind::Allow:
    case Kind::Deny:
        return decide(act.kind, *this);
    case Kind::Duration:
        return selectDuration(*this, act.number);
    case Kind::Advanced:
        clickedAdvanced();
        return std::nullopt;
    case Kind::Path:
    case Kind::Process:
    case Kind::Operations:
    case Kind::Updates:
        break;
    }
    return absent;
}

}
