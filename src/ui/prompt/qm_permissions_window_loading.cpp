#include "foundation/files.h"
#include "foundation/path_text.h"
#include "foundation/utf8.h"
#include "platform/window_system.h"
#include "prompting/permissions_manager.h"
#include "prompting/utilities.h"
#include "ui/prompt/operations_title.h"
#include "ui/prompt/permissions_texts.h"
#include "ui/prompt/qm_permissions_window.h"

#include <algorithm>

// How an advanced prompt fills itself from its query. Later steps change what earlier ones chose,
// so their order is part of what the user sees.

namespace vossel {

namespace {

constexpr std::string_view volumesFolder = "/Volumes/";
constexpr std::string_view installerApplication = "/System/Library/CoreServices/Installer.app";
constexpr double installerIconSize = 256; // points, both ways

}

void QMPermissionsWindow::windowDidLoad()
{
    ancestors_.clear();
    frame_.readPreferences();
    readQuery();
    loadUpdatesAndIcon();
    loadProcesses();
    limitPathChoice();
    loadFields();
    preferReadOnlyImage();
    loadPaths();
    recogniseInstaller();
    fitProcessPopUp();
    selectProcess(processIndex_);
    if (frame_.foreverRemoved(textOf(query_.path)))
        controls_.durationSegmentedControl.setSegmentCount(DURATION_FOREVER);
    frame_.resetButtons();
    frame_.highlightAllowWhileCommandHeld();
    frame_.setUpWindow();
    frame_.window.update([](WindowState& state) {
        state.trackingOptions
            = trackEnteredAndExited | trackMoved | trackAlways | trackInVisibleRect;
    });
    frame_.setTheme();
}

void QMPermissionsWindow::readQuery()
{
    displayName_ = context_.manager.manicureDisplayPathForQuery(query_);
    const SigningText signing = context_.manager.checkCodesign(query_);
    codeSignState_ = signing.codeSignState;
    codeSignText_ = withoutLineBreaks(signing.text);
    const AlertMessage alert = context_.manager.buildAlertMessage(query_);
    alertType_ = alert.alertType;
    activityDescription_ = alert.sentence;
    PathHierarchy paths = context_.manager.constructPathHierarchy(query_);
    pathArray_ = std::move(paths.choices);
    recommendedIndex_ = paths.recommendedPathIndex;
    controls_.applicationPathTextField.setStringValue(
        applicationPathText(context_.manager, query_));
    controls_.applicationParentPathTextField.setStringValue(
        parentPathText(context_.services.processes, query_));
}

// Updates can stay covered only where a maker is known who could sign them.
void QMPermissionsWindow::loadUpdatesAndIcon()
{
    const std::string_view team = textOf(query_.cs_info.teamid);
    const bool signedByTeam
        = codeSignState_ == CODE_SIGN_VALID && !team.empty() && isValidUtf8(team);
    controls_.allowUpdatesCheckBox.setChecked(signedByTeam);
    controls_.allowUpdatesCheckBox.setEnabled(signedByTeam);
    frame_.showIcon(codeSignState_, textOf(query_.process_name));
    if (isSIP(textOf(query_.process_name))) {
        controls_.allowUpdatesCheckBox.setEnabled(false);
        controls_.allowUpdatesCheckBox.setHidden(true);
    }
}

void QMPermissionsWindow::loadProcesses()
{
    processIndex_ = context_.manager.populateProcessDisplayComponents(
        controls_.applicationNamePopUp, query_, ancestors_, &isInstaller_);
}

void QMPermissionsWindow::limitPathChoice()
{
    controls_.pathPopUpControl.setEnabled(alertType_ != ALERT_APPLESCRIPT
        && alertType_ != ALERT_OWN_RULES && alertType_ != ALERT_WEBCAM
        && alertType_ != ALERT_LOGIN_ITEMS);
    if (cutPacketCapturePath(query_))
        controls_.pathPopUpControl.setEnabled(false);
    if (alertType_ == ALERT_LOGIN_ITEMS) {
        recommendedIndex_
            = std::min<std::int64_t>(1, static_cast<std::int64_t>(pathArray_.size()) - 1);
        controls_.durationSegmentedControl.selectSegmentWithTag(DURATION_ONCE);
    }
}

void QMPermissionsWindow::loadFields()
{
    controls_.applicationPathTextField.setTruncation(Truncation::Middle);
    controls_.applicationPathTextField.setAlignment(TextAlignment::Left);
    controls_.filenameTextField.setStringValue(std::string(textOf(query_.path)));
    controls_.filenameTextField.setTruncation(Truncation::Middle);
    controls_.applicationParentPathTextField.setTruncation(Truncation::Tail);
    controls_.codeSignTextField.setStringValue(codeSignText_);
    controls_.activityDescriptionTextField.setStringValue(activityDescription_);
    controls_.operationsButton.setTitle(std::string(operationsTitle(query_.operation)));
}

// What cannot be written to can only be read, and whoever reads it is of less weight.
void QMPermissionsWindow::preferReadOnlyImage()
{
    if (!isOnReadOnlyImage())
        return;
    processIndex_
        = controls_.applicationNamePopUp.indexOfItemWithTag(PROCESS_ANY).value_or(processIndex_);
    controls_.operationsButton.setTitle(std::string(readOnlyTitle));
    controls_.durationSegmentedControl.selectSegmentWithTag(DURATION_UNTIL_RESTART);
}

bool QMPermissionsWindow::isOnReadOnlyImage() const
{
    const std::string_view path = textOf(query_.path);
    if (!path.starts_with(volumesFolder) || query_.operation != OPERATION_READ)
        return false;
    const std::string root = std::string(volumesFolder) + volumeName(path) + "/";
    return Utilities(context_.services.utilities).isDiskImageAtURL(fileUrl(root))
        && !isWritable(root);
}

void QMPermissionsWindow::loadPaths()
{
    controls_.pathPopUpControl.addItemsWithTitles(pathArray_);
    controls_.pathPopUpControl.selectItemAtIndex(recommendedIndex_);
}

void QMPermissionsWindow::recogniseInstaller()
{
    if (isInstaller_)
        installerPID_ = Utilities(context_.services.utilities).findInstallerPID();
    if (installerPID_ == 0)
        return;
    controls_.durationSegmentedControl.selectSegmentWithTag(DURATION_UNTIL_QUIT);
    controls_.pathPopUpControl.selectItemAtIndex(controls_.pathPopUpControl.numberOfItems() - 1);
    controls_.activityDescriptionTextField.setStringValue(
        "An installer is attempting to install software on this system");
    controls_.durationSegmentedControl.setSegmentCount(DURATION_FOREVER);
    frame_.applicationIconImageView.setImage(ImageSource::workspaceIcon(
        std::string(installerApplication), installerIconSize, installerIconSize));
}

// As wide as the longest title, never wider than in the layout.
void QMPermissionsWindow::fitProcessPopUp()
{
    PopUpButton& popUp = controls_.applicationNamePopUp;
    const auto widthInLayout = static_cast<float>(popUp.frame().width);
    std::size_t longest = 0;
    for (const PopUpItem& item : popUp.items()) {
        const std::size_t characters = characterCount(item.title);
        if (characters <= longest)
            continue;
        longest = characters;
        popUp.setTitle(item.title);
        popUp.sizeToFit(context_.services.windows);
    }
    Rect frame = popUp.frame();
    frame.width = std::min(frame.width, static_cast<double>(widthInLayout));
    popUp.setFrame(frame);
}

}
