#include "ui/prompt/qm_permissions_window.h"

#include "platform/window_system.h"
#include "prompting/permissions_manager.h"
#include "ui/prompt/operations_title.h"
#include "ui/prompt/prompt_presenter.h"

#include <algorithm>
#include <utility>

namespace vossel {

QMPermissionsWindow::QMPermissionsWindow(const PromptContext& context)
    : context_(context)
    , frame_(context, PermissionsControls::windowFrame)
    , tip_(context.services.timers, context.services.windows, frame_.window,
          {&controls_.filenameTextField, &controls_.applicationPathTextField,
              &controls_.applicationParentPathTextField, &controls_.codeSignTextField})
{
    frame_.observe(controls_.durationSegmentedControl);
    frame_.observe(controls_.pathPopUpControl);
    frame_.observe(controls_.filenameTextField);
    frame_.observe(controls_.applicationPathTextField);
    frame_.observe(controls_.applicationParentPathTextField);
    frame_.observe(controls_.codeSignTextField);
    frame_.observe(controls_.activityDescriptionTextField);
    frame_.observe(controls_.applicationNamePopUp);
    frame_.observe(controls_.allowUpdatesCheckBox);
    frame_.observe(controls_.operationsButton);
}

void QMPermissionsWindow::showWindow()
{
    if (std::exchange(loaded_, true))
        return;
    windowDidLoad();
    frame_.open([this] { context_.presenter.promptChanged(*this); });
    context_.presenter.promptOpened(*this);
}

void QMPermissionsWindow::close()
{
    tip_.cancelPending();
    if (frame_.close())
        context_.presenter.promptClosed(*this);
}

// --- deciding -----------------------------------------------------------------------------------

void QMPermissionsWindow::clickedDeny()
{
    const auto self = weak_from_this().lock();
    if (!frame_.isOpen())
        return;
    const PromptChanges::Act act(frame_.changes);
    takeConstraint();
    handOver(&QMPermissionsWindowDelegate::didClickDenyWithSelectedPath,
        frame_.authenticationDenied ? std::int64_t{DURATION_ONCE}
                                    : controls_.durationSegmentedControl.selectedSegment());
}

void QMPermissionsWindow::clickedAllow()
{
    const auto self = weak_from_this().lock();
    if (!frame_.isOpen() || frame_.authenticating())
        return;
    takeConstraint();
    if (!frame_.authenticate()) {
        clickedDeny();
        return;
    }
    // The query may have been answered otherwise while the dialog stood.
    if (!frame_.isOpen())
        return;
    const PromptChanges::Act act(frame_.changes);
    handOver(&QMPermissionsWindowDelegate::didClickAllowWithSelectedPath,
        controls_.durationSegmentedControl.selectedSegment());
}

void QMPermissionsWindow::takeConstraint()
{
    query_.constraint_type = controls_.allowUpdatesCheckBox.checked() ? CONSTRAINT_UPDATES_COVERED
                                                                      : CONSTRAINT_THIS_VERSION;
}

void QMPermissionsWindow::handOver(Report report, std::int64_t duration)
{
    const std::int32_t operations = getOperations();
    const std::int64_t path = controls_.pathPopUpControl.selectedIndex();
    std::optional<std::string> selectedPath;
    if (path >= 0)
        selectedPath = pathArray_[static_cast<std::size_t>(path)];
    tip_.cancelPending();
    if (alertType_ == ALERT_APPLESCRIPT)
        selectedPath.emplace();
    const PopUpButton& processes = controls_.applicationNamePopUp;
    if (processes.selectedTag() == PROCESS_ANY_WITH_ANCESTOR) {
        const auto ancestor = ancestors_.find(processes.selectedIndex());
        storeText(query_.parent_name, ancestor == ancestors_.end() ? "" : ancestor->second);
    }
    if (delegate_)
        (delegate_->*report)(
            selectedPath, duration, processes.selectedTag(), operations, query_, installerPID_);
}

std::int32_t QMPermissionsWindow::getOperations() const
{
    return operationsOfTitle(controls_.operationsButton.title());
}

std::optional<std::string> QMPermissionsWindow::recommendedPath() const
{
    if (recommendedIndex_ < 0)
        return std::nullopt;
    return pathArray_[static_cast<std::size_t>(recommendedIndex_)];
}

// --- shaping the answer -------------------------------------------------------------------------

void QMPermissionsWindow::clickedOperations()
{
    controls_.operationsButton.setTitle(
        std::string(nextOperationsTitle(controls_.operationsButton.title())));
}

bool QMPermissionsWindow::selectPath(std::int64_t index)
{
    return controls_.pathPopUpControl.enabled() && index >= 0
        && controls_.pathPopUpControl.selectItemAtIndex(index);
}

bool QMPermissionsWindow::selectedProcessItem(std::int64_t index)
{
    if (index < 1 || index >= controls_.applicationNamePopUp.numberOfItems())
        return false;
    selectProcess(index);
    return true;
}

bool QMPermissionsWindow::setAllowUpdates(bool checked)
{
    CheckBox& box = controls_.allowUpdatesCheckBox;
    if (!box.enabled() || box.hidden())
        return false;
    box.setChecked(checked);
    return true;
}

void QMPermissionsWindow::setAllowButtonHighlight(std::int32_t highlight)
{
    frame_.setAllowButtonHighlight(highlight);
}

void QMPermissionsWindow::selectSegmentWithTag(std::int32_t tag)
{
    controls_.durationSegmentedControl.selectSegmentWithTag(tag);
}

void QMPermissionsWindow::incrementPathSelection()
{
    stepPath(1);
}

void QMPermissionsWindow::decrementPathSelection()
{
    stepPath(-1);
}

void QMPermissionsWindow::incrementProcessSelection()
{
    stepProcess(1);
}

void QMPermissionsWindow::decrementProcessSelection()
{
    stepProcess(-1);
}

// With no entry selected there is nothing to step from.
void QMPermissionsWindow::stepPath(std::int64_t step)
{
    if (controls_.pathPopUpControl.selectedIndex() >= 0)
        selectPath(controls_.pathPopUpControl.selectedIndex() + step);
}

void QMPermissionsWindow::stepProcess(std::int64_t step)
{
    if (controls_.applicationNamePopUp.selectedIndex() >= 0)
        selectedProcessItem(controls_.applicationNamePopUp.selectedIndex() + step);
}

void QMPermissionsWindow::selectProcess(std::int64_t index)
{
    const PromptChanges::Act act(frame_.changes);
    controls_.applicationNamePopUp.selectItemAtIndex(index);
    controls_.applicationNamePopUp.setTitle(controls_.applicationNamePopUp.titleOfSelectedItem());
}

// --- touch bar and layout -----------------------------------------------------------------------

PromptTouchBar::Parts QMPermissionsWindow::initTouchBarItems()
{
    const auto durationItem = [&](std::string identifier, std::string title, std::int32_t tag) {
        TouchBarButton button{.title = std::move(title)};
        button.action = actionOn(weak_from_this(), [tag](QMPermissionsWindow& self) {
            if (self.frame_.isOpen()) // or it would choose for the prompt that has followed
                self.context_.manager.selectSegment(tag);
        });
        return TouchBarItem{std::move(identifier), std::move(button)};
    };
    PromptTouchBar::Parts parts;
    parts.items = {
        durationItem(".o", "Once", DURATION_ONCE),
        durationItem(".q", "Quit", DURATION_UNTIL_QUIT),
        durationItem(".r", "Restart", DURATION_UNTIL_RESTART),
        durationItem(".f", "Forever", DURATION_FOREVER),
    };
    for (TouchBarItem& item : decisionItems(weak_from_this()))
        parts.items.push_back(std::move(item));
    const bool forever = controls_.durationSegmentedControl.segmentCount() > DURATION_FOREVER;
    for (const TouchBarItem& item : parts.items) {
        if (forever || item.identifier != ".f")
            parts.identifiers.push_back(item.identifier);
    }
    return parts;
}

void QMPermissionsWindow::moveWindow(const Rect& onScreen)
{
    frame_.window.update([&](WindowState& state) { state.frame = onScreen; });
}

void QMPermissionsWindow::moveField(Field field, const Rect& inWindow)
{
    switch (field) {
    case Field::File:
        return controls_.filenameTextField.setFrame(inWindow);
    case Field::Application:
        return controls_.applicationPathTextField.setFrame(inWindow);
    case Field::Parent:
        return controls_.applicationParentPathTextField.setFrame(inWindow);
    case Field::Signer:
        return controls_.codeSignTextField.setFrame(inWindow);
    }
}

}
