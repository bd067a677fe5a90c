#pragma once

#include "hosts/simulated/guarded.h"
#include "platform/accounts.h"
#include "platform/alert_sound.h"
#include "platform/authenticator.h"
#include "platform/code_signing.h"
#include "platform/notifications.h"
#include "platform/process_control.h"
#include "platform/processes.h"
#include "platform/session.h"
#include "platform/window_system.h"

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

// The services of the simulated host that only answer what a script has set, and remember what was
// asked of them. Set and read from any thread.

namespace vossel {

class SimulatedSession final : public Session {
public:
    Guarded<std::optional<SessionState>> state;

    [[nodiscard]] std::optional<SessionState> current() const override { return state.get(); }
};

// By default an ordinary user "ann" of /Users/ann, at the console, with a group of administrators
// that she is not in.
class SimulatedAccounts final : public Accounts {
public:
    struct Facts {
        UserId realUserId = 501;
        std::string loginName = "ann";
        std::string homeDirectory = "/Users/ann";
        std::optional<std::string> consoleUser = "ann";
        std::optional<GroupId> administratorsGroup = 80;
        std::optional<bool> isAdministrator = false;
        std::map<std::string, UserId, std::less<>> accounts = {{"ann", 501}};
    };
    Guarded<Facts> facts;

    [[nodiscard]] UserId realUserId() const override { return facts.get().realUserId; }
    [[nodiscard]] std::string loginName() const override { return facts.get().loginName; }
    [[nodiscard]] std::string homeDirectory() const override { return facts.get().homeDirectory; }
    [[nodiscard]] std::optional<std::string> consoleUser() const override
    {
        return facts.get().consoleUser;
    }
    [[nodiscard]] std::optional<GroupId> administratorsGroup() const override
    {
        return facts.get().administratorsGroup;
    }
    [[nodiscard]] std::optional<bool> isMember(UserId user, GroupId group) const override;
    [[nodiscard]] std::optional<UserId> userIdOf(std::string_view account) const override;

    // Makes the user one of the administrators.
    void makeAdministrator()
    {
        facts.with([](Facts& f) { f.isAdministrator = true; });
    }
};

class SimulatedProcesses final : public Processes {
public:
    struct Process {
        std::int32_t parent = 1;
        std::string path;
    };
    // The process table's order is that of the process ids.
    Guarded<std::map<std::uint32_t, Process>> table;

    [[nodiscard]] std::int32_t parentOf(std::uint32_t pid) const override;
    [[nodiscard]] std::string executablePath(std::uint32_t pid) const override;
    [[nodiscard]] std::vector<std::uint32_t> all() const override;

    void add(std::uint32_t pid, std::int32_t parent, std::string path);
};

class SimulatedInstallers final : public Installers {
public:
    Guarded<std::uint32_t> running;
    Guarded<std::string> daemon{"/System/Library/PrivateFrameworks/PackageKit.framework/Versions/A"
                                "/Resources/installd"};

    [[nodiscard]] std::uint32_t runningInstaller() const override { return running.get(); }
    [[nodiscard]] bool isInstallDaemon(std::string_view executable) const override
    {
        return executable == daemon.get();
    }
};

class SimulatedVolumes final : public Volumes {
public:
    Guarded<std::set<std::string>> diskImages; // mount points as they are asked for

    [[nodiscard]] bool isDiskImage(const std::string& mountPoint) const override;
};

class SimulatedCodeSigning final : public CodeSigning {
public:
    struct Code {
        std::int32_t result = signatureValid;
        std::optional<PropertyList> information;
    };
    Guarded<std::map<std::string, Code>> code;
    mutable Guarded<std::uint32_t> lastFlags;

    [[nodiscard]] bool isCode(const std::string& path) const override;
    [[nodiscard]] std::int32_t checkValidity(
        const std::string& path, std::uint32_t flags) const override;
    [[nodiscard]] std::optional<PropertyList> signingInformation(
        const std::string& path) const override;
};

class SimulatedAuthenticator final : public Authenticator {
public:
    Guarded<bool> hasFingerprint;
    Guarded<bool> fingerprintMatches;
    Guarded<bool> isAdministrator;
    // Called while the password dialog stands.
    Guarded<std::function<void()>> duringDialog;
    Guarded<std::vector<std::string>> asked;

    [[nodiscard]] bool canEvaluateFingerprint() override { return hasFingerprint.get(); }
    [[nodiscard]] bool evaluateFingerprint(std::string_view reason) override;
    [[nodiscard]] bool obtainAdministratorRight() override;
};

class SimulatedNotifications final : public NotificationCentre {
public:
    Guarded<NotificationCentreDelegate*> delegate;
    Guarded<std::vector<UserNotification>> delivered;
    Guarded<std::vector<std::string>> removed;

    void setDelegate(NotificationCentreDelegate* newDelegate) override
    {
        delegate.set(newDelegate);
    }
    void deliver(const UserNotification& notification) override;
    void removeDelivered(const std::string& identifier) override;
};

class SimulatedNotices final : public Notices {
public:
    Guarded<std::vector<Notice>> displayed;
    Guarded<std::vector<Notice>> displayedAndDismissed;

    void display(const Notice& notice) override;
    void displayAndWait(const Notice& notice) override;
};

// Every character is half as wide as the font is high.
class SimulatedWindows final : public WindowSystem {
public:
    Guarded<bool> commandKey;
    Guarded<std::vector<std::string>> acts; // "activate", "deactivate", "hide"
    Guarded<std::map<std::string, std::string>> programIcons; // file to the program it shows

    [[nodiscard]] bool commandKeyHeld() const override { return commandKey.get(); }
    [[nodiscard]] double textWidth(std::string_view text, float fontSize) const override
    {
        return static_cast<double>(text.size()) * static_cast<double>(fontSize) / 2;
    }
    void storeProgramIcon(const std::string& program, const std::string& file) override;
    void activateApplication() override;
    void deactivateApplication() override;
    void hideApplication() override;
};

class SimulatedWorkspace final : public Workspace {
public:
    Guarded<std::vector<std::string>> launched;

    void launchApplication(const std::string& path) override;
};

class SimulatedProcessControl final : public ProcessControl {
public:
    Guarded<std::function<void()>> hangUpHandler;
    Guarded<bool> debuggersDenied;

    void onHangUp(std::function<void()> handler) override { hangUpHandler.set(std::move(handler)); }
    void denyDebuggers() override { debuggersDenied.set(true); }

    void hangUp();
};

class SimulatedAlertSound final : public AlertSound {
public:
    Guarded<int> played; // how often

    void play() override
    {
        played.with([](int& count) { ++count; });
    }
};

}
