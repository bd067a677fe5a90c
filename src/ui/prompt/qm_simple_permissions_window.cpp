#include "ui/prompt/qm_simple_permissions_window.h"

#include "platform/accounts.h"
#include "prompting/permissions_manager.h"
#include "prompting/utilities.h"
#include "settings/directories.h"
#include "ui/prompt/permissions_texts.h"
#include "ui/prompt/prompt_presenter.h"
#include "user/user_checks.h"

#include <utility>

namespace vossel {

namespace {

// A path inside the home folder becomes the folder in the home folder that holds it, with its
// trailing "/"; what starts in the background is left to its own sentence.
void widenInsideHome(policy_query& query, const std::string& home)
{
    const std::string_view path = textOf(query.path);
    if (home.empty() || path.starts_with(home + "/Library/LaunchAgents/")
        || !path.starts_with(home + "/"))
        return;
    const std::size_t slash = path.find('/', home.size() + 1);
    if (slash != std::string_view::npos && slash + 1 < path.size())
        storeText(query.path, path.substr(0, slash + 1));
}

}

QMSimplePermissionsWindow::QMSimplePermissionsWindow(const PromptContext& context)
    : context_(context)
    , frame_(context, SimplePermissionsControls::windowFrame)
{
    frame_.observe(controls_.informationTextField);
    frame_.observe(controls_.activityDescriptionTextField);
    frame_.observe(controls_.applicationNameTextField);
    frame_.observe(controls_.untilQuitButtonCell);
    frame_.observe(controls_.untilRestartButtonCell);
    frame_.observe(controls_.foreverButtonCell);
    frame_.observe(controls_.foreverTextLabel);
}

void QMSimplePermissionsWindow::setPolicyQuery(const policy_query& query)
{
    query_ = query;
    originalQuery_ = query;
    widenInsideHome(query_, context_.services.accounts.homeDirectory());
}

void QMSimplePermissionsWindow::showWindow()
{
    if (std::exchange(loaded_, true))
        return;
    windowDidLoad();
    frame_.open([this] { context_.presenter.promptChanged(*this); });
    context_.presenter.promptOpened(*this);
}

void QMSimplePermissionsWindow::close()
{
    if (frame_.close())
        context_.presenter.promptClosed(*this);
}

void QMSimplePermissionsWindow::windowDidLoad()
{
    frame_.readPreferences();
    applicationText_ = applicationPathText(context_.manager, query_);
    parentText_ = parentPathText(context_.services.processes, query_);
    const SigningText signing = context_.manager.checkCodesign(query_);
    codeSignState_ = signing.codeSignState;
    const AlertMessage alert = context_.manager.buildAlertMessage(query_);
    alertType_ = alert.alertType;
    frame_.showIcon(codeSignState_, textOf(query_.process_name));

    TextField& name = controls_.applicationNameTextField;
    name.setStringValue(context_.manager.manicureDisplayPathForQuery(query_));
    name.setTruncation(Truncation::Middle);
    name.setAlignment(TextAlignment::Left);
    Utilities(context_.services.utilities).adjustFontSizeToFitWidth(name);
    controls_.informationTextField.setStringValue(withoutLineBreaks(signing.text));
    controls_.activityDescriptionTextField.setStringValue(alert.sentence);

    const bool foreverRemoved = frame_.foreverRemoved(textOf(query_.path));
    controls_.foreverButtonCell.setHidden(foreverRemoved);
    controls_.foreverTextLabel.setHidden(foreverRemoved);
    cutPacketCapturePath(query_);
    frame_.resetButtons();
    clickedUntilQuit();
    frame_.highlightAllowWhileCommandHeld();
    frame_.setUpWindow();
    frame_.setTheme();
}

// --- deciding -----------------------------------------------------------------------------------

void QMSimplePermissionsWindow::clickedDeny()
{
    const auto self = weak_from_this().lock();
    if (!frame_.isOpen())
        return;
    const PromptChanges::Act act(frame_.changes);
    query_.constraint_type = CONSTRAINT_UPDATES_COVERED;
    if (delegate_)
        delegate_->didClickDenyWithQuery(
            query_, frame_.authenticationDenied ? DURATION_ONCE : selectedDuration());
}

void QMSimplePermissionsWindow::clickedAllow()
{
    const auto self = weak_from_this().lock();
    if (!frame_.isOpen() || frame_.authenticating())
        return;
    query_.constraint_type = CONSTRAINT_UPDATES_COVERED;
    if (!frame_.authenticate()) {
        clickedDeny();
        return;
    }
    // The query may have been answered otherwise while the dialog stood.
    if (!frame_.isOpen())
        return;
    const PromptChanges::Act act(frame_.changes);
    if (delegate_)
        delegate_->didClickAllowWithQuery(query_, selectedDuration());
}

void QMSimplePermissionsWindow::clickedAdvanced()
{
    const auto self = weak_from_this().lock();
    if (!frame_.isOpen())
        return;
    const PromptChanges::Act act(frame_.changes);
    if (delegate_)
        delegate_->didRequestAdvancedDisplayForQuery(originalQuery_);
}

// --- duration -----------------------------------------------------------------------------------

void QMSimplePermissionsWindow::clickedUntilQuit()
{
    choose(controls_.untilQuitButtonCell);
}

void QMSimplePermissionsWindow::clickedUntilRestart()
{
    choose(controls_.untilRestartButtonCell);
}

void QMSimplePermissionsWindow::clickedForever()
{
    if (!controls_.foreverButtonCell.hidden()
        && UserChecks(context_.services.accounts, context_.directories).canCreateRules())
        choose(controls_.foreverButtonCell);
}

void QMSimplePermissionsWindow::choose(const Button& chosen)
{
    const PromptChanges::Act act(frame_.changes);
    selectedTag_ = chosen.tag();
    for (Button* button : {&controls_.untilQuitButtonCell, &controls_.untilRestartButtonCell,
             &controls_.foreverButtonCell})
        button->setOn(button == &chosen);
}

void QMSimplePermissionsWindow::setAllowButtonHighlight(std::int32_t highlight)
{
    frame_.setAllowButtonHighlight(highlight);
}

// --- touch bar ----------------------------------------------------------------------------------

PromptTouchBar::Parts QMSimplePermissionsWindow::initTouchBarItems()
{
    return {decisionItems(weak_from_this()), {".deny", ".allow"}};
}

}
