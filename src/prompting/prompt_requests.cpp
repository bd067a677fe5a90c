#include "platform/accounts.h"
#include "prompting/permissions_manager.h"
#include "prompting/process_menu.h"
#include "ui/controls/pop_up_button.h"
#include "user/user_checks.h"

// What the broker hands on to the open prompt, and what it computes for it.

namespace vossel {

// --- the main thread: what is forwarded ---------------------------------------------------------

PromptWindow* PermissionsManager::openPrompt() const
{
    if (simplePermissionsWindowController_)
        return simplePermissionsWindowController_.get();
    return permissionsWindowController_.get();
}

bool PermissionsManager::requireTouchBar() const
{
    const PromptWindow* prompt = openPrompt();
    return prompt && prompt->requireTouchBar();
}

void PermissionsManager::setAllowButtonHighlight(std::int32_t highlight)
{
    if (PromptWindow* prompt = openPrompt())
        prompt->setAllowButtonHighlight(highlight);
}

void PermissionsManager::clickAllow()
{
    if (PromptWindow* prompt = openPrompt())
        prompt->performClickAllow();
}

void PermissionsManager::clickDeny()
{
    if (PromptWindow* prompt = openPrompt())
        prompt->performClickDeny();
}

void PermissionsManager::selectSegment(std::int32_t tag)
{
    if (permissionsWindowController_) {
        permissionsWindowController_->selectSegmentWithTag(tag);
    } else if (simplePermissionsWindowController_) {
        if (tag == DURATION_UNTIL_QUIT)
            simplePermissionsWindowController_->clickedUntilQuit();
        else if (tag == DURATION_UNTIL_RESTART)
            simplePermissionsWindowController_->clickedUntilRestart();
        else if (tag == DURATION_FOREVER)
            simplePermissionsWindowController_->clickedForever();
    }
}

void PermissionsManager::incrementPopUpSelection()
{
    if (permissionsWindowController_)
        permissionsWindowController_->incrementPathSelection();
}

void PermissionsManager::decremenetPopUpSelection()
{
    if (permissionsWindowController_)
        permissionsWindowController_->decrementPathSelection();
}

void PermissionsManager::incrementProcessSelection()
{
    if (permissionsWindowController_)
        permissionsWindowController_->incrementProcessSelection();
}

void PermissionsManager::decrementProcessSelection()
{
    if (permissionsWindowController_)
        permissionsWindowController_->decrementProcessSelection();
}

// --- the main thread: what the prompts show -----------------------------------------------------

std::string PermissionsManager::manicureAppPathForQuery(const policy_query& query) const
{
    return vossel::manicureAppPathForQuery(query);
}

std::string PermissionsManager::manicureDisplayPathForQuery(const policy_query& query) const
{
    return vossel::manicureDisplayPathForQuery(query);
}

PathHierarchy PermissionsManager::constructPathHierarchy(const policy_query& query) const
{
    const std::string home = services_.accounts.homeDirectory();
    return vossel::constructPathHierarchy(
        query, {home, userChecks_.isAdminUser(), simpleModeOverride_});
}

AlertMessage PermissionsManager::buildAlertMessage(policy_query& query) const
{
    const std::string home = services_.accounts.homeDirectory();
    return vossel::buildAlertMessage(query, {simpleMode(), home, directories_});
}

std::int64_t PermissionsManager::populateProcessDisplayComponents(PopUpButton& menu,
    const policy_query& forQuery, std::map<std::int64_t, std::string>& populateAncestors,
    bool* isInstaller) const
{
    ProcessMenu processes = buildProcessMenu(forQuery, services_.processes, services_.installers);
    for (const ProcessMenuItem& item : processes.items)
        menu.addItem(item.title, item.tag);
    populateAncestors.merge(processes.ancestors);
    if (isInstaller)
        *isInstaller = processes.isInstaller;
    return processes.recommendedIndex;
}

SigningText PermissionsManager::checkCodesign(const policy_query& query) const
{
    return vossel::checkCodesign(query);
}

}
