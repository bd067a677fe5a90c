#include "frontends/lines/prompt_state.h"

#include "foundation/utf8.h"
#include "ui/prompt/qm_permissions_window.h"
#include "ui/prompt/qm_simple_permissions_window.h"

namespace vossel {

namespace {

Json buttonState(const Button& button)
{
    return Json{{"hidden", button.hidden()}, {"highlighted", button.highlighted()}};
}

const char* iconKind(ImageSource::Kind kind)
{
    switch (kind) {
    case ImageSource::Kind::File:
        return "file";
    case ImageSource::Kind::WorkspaceIcon:
        return "workspace";
    case ImageSource::Kind::Resource:
        return "resource";
    case ImageSource::Kind::None:
        break;
    }
    return "none";
}

template <class Prompt>
Json commonState(const Prompt& prompt, const TextField& sentence, const TextField& codeSign,
    std::int64_t secondsLeft)
{
    const PromptFrame& frame = prompt.frame();
    const ImageSource& icon = frame.applicationIconImageView.image();
    return Json{
        {"sentence", toValidUtf8(sentence.stringValue())},
        {"alertType", prompt.alertType()},
        {"codeSignState", prompt.codeSignState()},
        {"codeSign", toValidUtf8(codeSign.stringValue())},
        {"allow", buttonState(frame.allowButton)},
        {"deny", buttonState(frame.denyButton)},
        {"touchBarRequired", frame.requireTouchBar},
        {"secondsLeft", secondsLeft},
        {"icon", toValidUtf8(icon.path)},
        {"iconKind", iconKind(icon.kind)},
    };
}

Json pathList(const PopUpButton& paths)
{
    Json list = Json::array();
    for (const PopUpItem& item : paths.items())
        list.push_back(toValidUtf8(item.title));
    return list;
}

Json processList(const QMPermissionsWindow& prompt)
{
    Json list = Json::array();
    for (const PopUpItem& item : prompt.controls().applicationNamePopUp.items()) {
        const auto index = static_cast<std::int64_t>(list.size());
        Json entry{{"title", toValidUtf8(item.title)}, {"tag", item.tag}};
        const auto ancestor = prompt.ancestors().find(index);
        if (ancestor != prompt.ancestors().end())
            entry["path"] = toValidUtf8(ancestor->second);
        list.push_back(std::move(entry));
    }
    return list;
}

}

Json promptState(const QMPermissionsWindow& prompt, std::int64_t secondsLeft)
{
    const PermissionsControls& controls = prompt.controls();
    const PopUpButton& processes = controls.applicationNamePopUp;
    const CheckBox& updates = controls.allowUpdatesCheckBox;
    Json state = commonState(
        prompt, controls.activityDescriptionTextField, controls.codeSignTextField, secondsLeft);
    state["application"] = toValidUtf8(controls.applicationPathTextField.stringValue());
    state["parent"] = toValidUtf8(controls.applicationParentPathTextField.stringValue());
    state["file"] = toValidUtf8(controls.filenameTextField.stringValue());
    state["paths"] = pathList(controls.pathPopUpControl);
    state["path"] = controls.pathPopUpControl.selectedIndex();
    state["pathEnabled"] = controls.pathPopUpControl.enabled();
    state["processes"] = processList(prompt);
    state["process"] = processes.selectedIndex();
    state["processTitle"] = toValidUtf8(processes.title());
    state["operations"] = controls.operationsButton.title();
    state["segments"] = controls.durationSegmentedControl.segmentCount();
    state["duration"] = controls.durationSegmentedControl.selectedSegment();
    state["updates"] = Json{{"checked", updates.checked()}, {"enabled", updates.enabled()},
        {"hidden", updates.hidden()}};
    state["installerPid"] = prompt.installerPID();
    return state;
}

Json promptState(const QMSimplePermissionsWindow& prompt, std::int64_t secondsLeft)
{
    const SimplePermissionsControls& controls = prompt.controls();
    Json state = commonState(
        prompt, controls.activityDescriptionTextField, controls.informationTextField, secondsLeft);
    state["application"] = toValidUtf8(controls.applicationNameTextField.stringValue());
    state["duration"] = prompt.selectedDuration();
    state["foreverHidden"] = controls.foreverButtonCell.hidden();
    return state;
}

}
