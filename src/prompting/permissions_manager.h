#pragma once

#include "foundation/mutex.h"
#include "platform/host.h"
#include "platform/notifications.h"
#include "prompting/alert_message.h"
#include "prompting/path_hierarchy.h"
#include "prompting/prompt_interfaces.h"
#include "prompting/query_wait.h"
#include "prompting/signing_text.h"
#include "settings/directories.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace vossel {

class NotificationRoutes;
class PopUpButton;
class UserChecks;

// Owns the open prompt and the wait that it answers: chooses the prompt, opens it, turns the
// decision into a response and wakes the thread that waits. It must not own a connection to the
// driver, nor call one. It handles one query at a time; its caller sees to that.
//
// Threads: the prompts, what they report and what is forwarded to them belong to the main thread.
// The query's thread, the driver loop and a rule import call the operations of the first two
// groups. What they share with the main thread is the wait of the current query; a prompt answers
// only the wait that it was opened for, and not at all once it has been closed.
class PermissionsManager final : public QMPermissionsWindowDelegate,
                                 public QMSimplePermissionsWindowDelegate,
                                 public NotificationCentreDelegate {
public:
    struct Services {
        // Implicit on purpose: who has a host hands it over as it is.
        Services(const Host& host); // NOLINT(google-explicit-constructor)

        MainThread& mainThread;
        const Accounts& accounts;
        const Processes& processes;
        const Installers& installers;
        NotificationCentre& notifications;
        WindowSystem& windows;
        Workspace& workspace;
    };

    PermissionsManager(
        const Services& services, const Directories& directories, const UserChecks& userChecks);
    ~PermissionsManager() override;

    // Both before the first query. Without routes, clicks on others' notifications are logged.
    void setPromptFactory(PromptFactory* factory) { factory_ = factory; }
    void setNotificationRoutes(NotificationRoutes* routes) { routes_ = routes; }

    // The query's thread. Starts the prompt and returns at once.
    bool presentQueryToUser(const policy_query& query, std::shared_ptr<QueryWait> waitingOn);
    [[nodiscard]] bool haveResponse() const;
    [[nodiscard]] user_prompt_response getResponse() const;
    // Empty in simple mode, and where no prompt was loaded.
    [[nodiscard]] std::optional<std::string> recommendedPath() const;
    // Answers the current query in the user's place when nobody decided in time or the query was
    // cancelled; false when a decision came first, which then stands. The prompt is taken off the
    // screen without waiting for the main thread: that may be standing in an authentication
    // dialog, and the answer must leave all the same.
    bool prepareResponseToQuery(const policy_query& query, std::int32_t withDecision,
        const std::optional<std::string>& selectedPath, std::int64_t selectedDuration,
        std::int32_t selectedProcessType, std::int32_t operations, std::uint32_t pid);
    void destroyWindow();
    void displayGrowlNotification(const std::string& title, const std::string& message);

    // Withdrawing the prompt, from any thread. Nothing happens when no query waits.
    void cancelQuery();
    bool reevaluateQuery();

    // The main thread from here on.
    [[nodiscard]] bool isPresenting() const { return isPresenting_; }
    // The wait that the open prompt answers; null while none is open.
    [[nodiscard]] const std::shared_ptr<QueryWait>& shownWait() const { return shownWait_; }
    [[nodiscard]] bool simpleMode() const;

    // Forwarded to the prompt that is open.
    [[nodiscard]] bool requireTouchBar() const;
    void setAllowButtonHighlight(std::int32_t highlight);
    void clickAllow();
    void clickDeny();
    void selectSegment(std::int32_t tag);
    void incrementPopUpSelection();
    void decremenetPopUpSelection();
    void incrementProcessSelection();
    void decrementProcessSelection();

    // What the prompts show.
    [[nodiscard]] std::string manicureAppPathForQuery(const policy_query& query) const;
    [[nodiscard]] std::string manicureDisplayPathForQuery(const policy_query& query) const;
    [[nodiscard]] PathHierarchy constructPathHierarchy(const policy_query& query) const;
    [[nodiscard]] AlertMessage buildAlertMessage(policy_query& query) const;
    std::int64_t populateProcessDisplayComponents(PopUpButton& menu, const policy_query& forQuery,
        std::map<std::int64_t, std::string>& populateAncestors, bool* isInstaller) const;
    [[nodiscard]] SigningText checkCodesign(const policy_query& query) const;

    // What the prompts report.
    void didClickAllowWithSelectedPath(const std::optional<std::string>& selectedPath,
        std::int64_t selectedDuration, std::int32_t selectedProcessType, std::int32_t operations,
        const policy_query& query, std::uint32_t pid) override;
    void didClickDenyWithSelectedPath(const std::optional<std::string>& selectedPath,
        std::int64_t selectedDuration, std::int32_t selectedProcessType, std::int32_t operations,
        const policy_query& query, std::uint32_t pid) override;
    void didClickAllowWithQuery(const policy_query& query, std::int64_t forDuration) override;
    void didClickDenyWithQuery(const policy_query& query, std::int64_t forDuration) override;
    void didRequestAdvancedDisplayForQuery(const policy_query& query) override;

    [[nodiscard]] bool shouldPresentNotification(const UserNotification& notification) override;
    void didActivateNotification(const UserNotification& notification,
        NotificationActivation activation, std::int32_t alternateAction) override;

private:
    [[nodiscard]] bool modeOfUser() const;
    [[nodiscard]] std::shared_ptr<QueryWait> currentWait() const;
    void presentWindow(const policy_query& query, const std::shared_ptr<QueryWait>& wait);
    void presentSimpleWindow(const policy_query& query, const std::shared_ptr<QueryWait>& wait);
    void closeWindowsOf(const std::shared_ptr<QueryWait>& wait);
    void withdrawWindowsOf(std::shared_ptr<QueryWait> wait);
    void closeWindows();
    [[nodiscard]] PromptWindow* openPrompt() const;
    void decide(const user_prompt_response& response);

    const Services services_;
    const Directories& directories_;
    const UserChecks& userChecks_;
    PromptFactory* factory_ = nullptr;
    NotificationRoutes* routes_ = nullptr;

    mutable Mutex mutex_;
    std::shared_ptr<QueryWait> pendingCondition_ VOSSEL_GUARDED_BY(mutex_); // the latest query's

    std::atomic<bool> isPresenting_ = false; // written by the main thread

    // The main thread's.
    std::shared_ptr<AdvancedPrompt> permissionsWindowController_;
    std::shared_ptr<SimplePrompt> simplePermissionsWindowController_;
    std::shared_ptr<QueryWait> shownWait_; // what the open prompt may answer
    bool simpleModeOverride_ = false;
};

}
