#include "frontends/lines/prompt_commands.h"

#include "ui/prompt/qm_permissions_window.h"
#include "ui/prompt/qm_simple_permissions_window.h"

namespace vossel {

namespace {

using Refusal = std::optional<std::string>;
using Kind = LineCommand::Kind;

constexpr char absent[] = "this prompt has no such control";
constexpr char disabled[] = "this control is disabled";
constexpr char hiddenControl[] = "this control is hidden";
constexpr char noEntry[] = "there is no such entry";

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

Refusal selectPath(QMPermissionsWindow& prompt, std::int32_t index)
{
    if (!prompt.controls().pathPopUpControl.enabled())
        return disabled;
    return prompt.selectPath(index) ? Refusal() : noEntry;
}

Refusal selectSegment(QMPermissionsWindow& prompt, std::int32_t tag)
{
    if (tag >= prompt.controls().durationSegmentedControl.segmentCount())
        return "this prompt has no such duration";
    prompt.selectSegmentWithTag(tag);
    return std::nullopt;
}

Refusal setUpdates(QMPermissionsWindow& prompt, bool on)
{
    if (prompt.controls().allowUpdatesCheckBox.hidden())
        return hiddenControl;
    return prompt.setAllowUpdates(on) ? Refusal() : disabled;
}

Refusal selectDuration(QMSimplePermissionsWindow& prompt, std::int32_t duration)
{
    if (duration == DURATION_UNTIL_QUIT)
        prompt.clickedUntilQuit();
    else if (duration == DURATION_UNTIL_RESTART)
        prompt.clickedUntilRestart();
    else if (duration != DURATION_FOREVER || prompt.controls().foreverButtonCell.hidden())
        return "this prompt has no such duration";
    else
        prompt.clickedForever();
    // Forever is refused as well where the user has lost the right to make rules meanwhile.
    return prompt.selectedDuration() == duration ? Refusal() : "this duration cannot be chosen";
}

}

std::optional<std::string> carryOut(const LineCommand& command, QMPermissionsWindow& prompt)
{
    switch (command.kind) {
    case Kind::Allow:
    case Kind::Deny:
        return decide(command.kind, prompt);
    case Kind::Path:
        return selectPath(prompt, command.number);
    case Kind::Process:
        return prompt.selectedProcessItem(command.number) ? Refusal() : noEntry;
    case Kind::Duration:
        return selectSegment(prompt, command.number);
    case Kind::Operations:
        prompt.clickedOperations();
        return std::nullopt;
    case Kind::Updates:
        return setUpdates(prompt, command.number == 1);
    case Kind::Advanced:
        return absent;
    case Kind::State:
    case Kind::Wait:
        break;
    }
    return std::nullopt;
}

std::optional<std::string> carryOut(const LineCommand& command, QMSimplePermissionsWindow& prompt)
{
    switch (command.kind) {
    case Kind::Allow:
    case Kind::Deny:
        return decide(command.kind, prompt);
    case Kind::Duration:
        return selectDuration(prompt, command.number);
    case Kind::Advanced:
        prompt.clickedAdvanced();
        return std::nullopt;
    case Kind::Path:
    case Kind::Process:
    case Kind::Operations:
    case Kind::Updates:
        return absent;
    case Kind::State:
    case Kind::Wait:
        break;
    }
    return std::nullopt;
}

}
