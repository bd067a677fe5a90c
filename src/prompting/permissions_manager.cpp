#include "prompting/permissions_manager.h"

#include "foundation/files.h"
#include "foundation/log.h"
#include "platform/accounts.h"
#include "platform/threads.h"
#include "platform/window_system.h"
#include "prompting/notification_routes.h"
#include "prompting/process_menu.h"
#include "prompting/response_builder.h"
#include "settings/preferences.h"
#include "ui/controls/pop_up_button.h"
#include "user/user_checks.h"

#include <utility>

namespace vossel {

PermissionsManager::Services::Services(const Host& host)
    : mainThread(host.mainThread)
    , accounts(host.accounts)
    , processes(host.processes)
    , installers(host.installers)
    , notifications(host.notifications)
    , windows(host.windows)
    , workspace(host.workspace)
{
}

PermissionsManager::PermissionsManager(
    const Services& services, const Directories& directories, const UserChecks& userChecks)
    : services_(services)
    , directories_(directories)
    , userChecks_(userChecks)
{
}

PermissionsManager::~PermissionsManager() = default;

// --- the query's thread -------------------------------------------------------------------------

bool PermissionsManager::presentQueryToUser(
    const policy_query& query, std::shared_ptr<QueryWait> waitingOn)
{
    {
        const MutexLock lock(mutex_);
        pendingCondition_ = waitingOn;
    }
    const bool simple = modeOfUser();
    services_.mainThread.perform([this, query, simple, wait = std::move(waitingOn)] {
        if (simple)
            presentSimpleWindow(query, wait);
        else
            presentWindow(query, wait);
    });
    return true;
}

std::shared_ptr<QueryWait> PermissionsManager::currentWait() const
{
    const MutexLock lock(mutex_);
    return pendingCondition_;
}

bool PermissionsManager::haveResponse() const
{
    const auto wait = currentWait();
    return wait && wait->hasResponse();
}

user_prompt_response PermissionsManager::getResponse() const
{
    const auto wait = currentWait();
    return wait ? wait->response() : user_prompt_response{};
}

std::optional<std::string> PermissionsManager::recommendedPath() const
{
    const auto wait = currentWait();
    return wait ? wait->recommendedPath() : std::nullopt;
}

bool PermissionsManager::prepareResponseToQuery(const policy_query& query,
    std::int32_t withDecision, const std::optional<std::string>& selectedPath,
    std::int64_t selectedDuration, std::int32_t selectedProcessType, std::int32_t operations,
    std::uint32_t pid)
{
    const user_prompt_response response = buildResponse(query,
        {withDecision, selectedPath, selectedDuration, selectedProcessType, operations, pid});
    auto wait = currentWait();
    if (!wait || !wait->finish(QueryWait::Outcome::TimedOut, response))
        return false;
    withdrawWindowsOf(std::move(wait));
    return true;
}

void PermissionsManager::destroyWindow()
{
    withdrawWindowsOf(currentWait());
}

void PermissionsManager::displayGrowlNotification(
    const std::string& title, const std::string& message)
{
    UserNotification notification;
    notification.title = title;
    notification.informativeText = message;
    notification.actionButtonTitle = "View";
    services_.mainThread.perform([this, notification = std::move(notification)] {
        services_.notifications.setDelegate(this);
        services_.notifications.deliver(notification);
    });
}

// --- withdrawing --------------------------------------------------------------------------------

void PermissionsManager::cancelQuery()
{
    auto wait = currentWait();
    if (wait && wait->finish(QueryWait::Outcome::Cancelled))
        withdrawWindowsOf(std::move(wait));
}

bool PermissionsManager::reevaluateQuery()
{
    user_prompt_response response{};
    response.code = RESPONSE_REEVALUATE;
    auto wait = currentWait();
    if (!wait || !wait->finish(QueryWait::Outcome::Reevaluated, response))
        return false;
    withdrawWindowsOf(std::move(wait));
    return true;
}

// The wait is over, so the prompt can do no harm any more; nobody needs to wait for it to go.
void PermissionsManager::withdrawWindowsOf(std::shared_ptr<QueryWait> wait)
{
    if (services_.mainThread.isCurrent())
        closeWindowsOf(wait);
    else
        services_.mainThread.perform([this, wait = std::move(wait)] { closeWindowsOf(wait); });
}

// --- the main thread: windows -------------------------------------------------------------------

void PermissionsManager::presentWindow(
    const policy_query& query, const std::shared_ptr<QueryWait>& wait)
{
    if (wait->isOver() || !factory_)
        return;
    closeWindows();
    isPresenting_ = true;
    shownWait_ = wait;
    const auto prompt = factory_->makePermissionsWindow();
    permissionsWindowController_ = prompt;
    prompt->setPolicyQuery(query);
    prompt->setDelegate(this);
    prompt->showWindow();
    wait->setRecommendedPath(prompt->recommendedPath());
    if (permissionsWindowController_ == prompt)
        services_.windows.activateApplication();
}

void PermissionsManager::presentSimpleWindow(
    const policy_query& query, const std::shared_ptr<QueryWait>& wait)
{
    if (wait->isOver() || !factory_)
        return;
    closeWindows();
    isPresenting_ = true;
    simpleModeOverride_ = false;
    shownWait_ = wait;
    const auto prompt = factory_->makeSimplePermissionsWindow();
    simplePermissionsWindowController_ = prompt;
    prompt->setPolicyQuery(query);
    prompt->setDelegate(this);
    prompt->showWindow();
    if (simplePermissionsWindowController_ == prompt)
        services_.windows.activateApplication();
}

void PermissionsManager::closeWindowsOf(const std::shared_ptr<QueryWait>& wait)
{
    if (!wait || shownWait_ != wait)
        return;
    closeWindows();
    shownWait_.reset();
    simpleModeOverride_ = false;
    isPresenting_ = false;
    services_.windows.hideApplication();
}

// A closed prompt has no delegate any more: it may still stand on the stack, inside an
// authentication dialog, and must not answer another query when that returns.
void PermissionsManager::closeWindows()
{
    if (const auto prompt = std::exchange(permissionsWindowController_, nullptr)) {
        prompt->setDelegate(nullptr);
        prompt->close();
    }
    if (const auto prompt = std::exchange(simplePermissionsWindowController_, nullptr)) {
        prompt->setDelegate(nullptr);
        prompt->close();
    }
}

bool PermissionsManager::simpleMode() const
{
    return !simpleModeOverride_ && modeOfUser();
}

bool PermissionsManager::modeOfUser() const
{
    if (userChecks_.isAdminUser())
        return fileExists(directories_.simpleModeMarker(services_.accounts.loginName()));
    const std::int64_t detail = valueForPreference(directories_, preference::userDetail);
    return detail != 1 && detail != 2;
}

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

// --- the main thread: what the prompts report ---------------------------------------------------

// Only the prompt on the screen has a delegate, so what is reported belongs to shownWait_. The
// screen is given back first: the program that asked may be about to write to it. A decision that
// comes after the wait has ended is dropped; the prompt has gone all the same.
void PermissionsManager::decide(const user_prompt_response& response)
{
    const auto wait = shownWait_;
    if (!wait)
        return;
    closeWindowsOf(wait);
    if (!wait->finish(QueryWait::Outcome::Answered, response))
        logText("a decision came too late and was dropped");
}

void PermissionsManager::didClickAllowWithSelectedPath(
    const std::optional<std::string>& selectedPath, std::int64_t selectedDuration,
    std::int32_t selectedProcessType, std::int32_t operations, const policy_query& query,
    std::uint32_t pid)
{
    decide(buildResponse(query,
        {DECISION_ALLOW, selectedPath, selectedDuration, selectedProcessType, operations, pid}));
}

void PermissionsManager::didClickDenyWithSelectedPath(
    const std::optional<std::string>& selectedPath, std::int64_t selectedDuration,
    std::int32_t selectedProcessType, std::int32_t operations, const policy_query& query,
    std::uint32_t pid)
{
    decide(buildResponse(query,
        {DECISION_DENY, selectedPath, selectedDuration, selectedProcessType, operations, pid}));
}

namespace {

// A simple prompt asks for everything of the kind that was attempted.
std::int32_t operationsOfSimplePrompt(std::int32_t operation)
{
    if (operation == OPERATION_MOUNT || operation == OPERATION_EXECUTE)
        return operation;
    return OPERATION_READ | OPERATION_WRITE | OPERATION_CREATE;
}

}

void PermissionsManager::didClickAllowWithQuery(const policy_query& query, std::int64_t forDuration)
{
    decide(buildResponse(query,
        {DECISION_ALLOW, std::nullopt, forDuration, PROCESS_NONE,
            operationsOfSimplePrompt(query.operation), 0}));
}

void PermissionsManager::didClickDenyWithQuery(const policy_query& query, std::int64_t forDuration)
{
    decide(buildResponse(query,
        {DECISION_DENY, std::nullopt, forDuration, PROCESS_NONE,
            operationsOfSimplePrompt(query.operation), 0}));
}

void PermissionsManager::didRequestAdvancedDisplayForQuery(const policy_query& query)
{
    const auto wait = shownWait_;
    if (!wait || !simplePermissionsWindowController_)
        return;
    const policy_query copy = query;
    const std::int32_t duration = simplePermissionsWindowController_->selectedDuration();
    closeWindowsOf(wait);
    if (wait->isOver())
        return;
    simpleModeOverride_ = true;
    presentWindow(copy, wait);
    if (duration != DURATION_UNTIL_QUIT)
        selectSegment(duration);
}

// --- notifications ------------------------------------------------------------------------------

bool PermissionsManager::shouldPresentNotification(const UserNotification&)
{
    return true;
}

void PermissionsManager::didActivateNotification(const UserNotification& notification,
    NotificationActivation activation, std::int32_t alternateAction)
{
    const bool body = activation == NotificationActivation::ContentsClicked;
    const auto& userInfo = notification.userInfo;
    const bool autodetect = userInfo && userInfo->find("autodetectAsset");
    if (body && !autodetect)
        services_.notifications.removeDelivered(notification.identifier);
    if (!userInfo) {
        if (!body)
            services_.workspace.launchApplication(directories_.configurationApplication());
        return;
    }
    if (!routes_) {
        logText("nobody is there for the notification \"%@\"", notification.title);
        return;
    }
    if (autodetect)
        routes_->autodetectDidActivateNotification(notification, activation, alternateAction);
    else if (userInfo->find("device"))
        routes_->deviceDidDismissUserNotification(notification, activation, alternateAction);
    else if (body)
        routes_->tapDidDismissNotificationWithUserInfo(*userInfo);
    else
        routes_->ignoreApplication(*userInfo, alternateAction);
}

}
