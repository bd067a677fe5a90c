#pragma once

#include "platform/host.h"
#include "settings/directories.h"

namespace vossel {

// Whether the real user is an administrator: never root; true only when the system reports
// membership in the administrators' group.
[[nodiscard]] bool isAdministrator(const Accounts& accounts);

// Who the user is and what they may do; answered afresh at each call, from any thread.
class UserChecks {
public:
    UserChecks(const Host& host, const Directories& directories)
        : host_(host)
        , directories_(directories)
    {
    }

    [[nodiscard]] bool isRoot() const;
    // Whether somebody is logged in at the console.
    [[nodiscard]] bool hasConsole() const;
    [[nodiscard]] bool isAdminUser() const;
    // Root, and whoever may write in the shared data directory.
    [[nodiscard]] bool canCreateRules() const;
    [[nodiscard]] bool checkFirstRunMode() const;
    [[nodiscard]] bool checkLearningMode() const;

private:
    const Host& host_;
    const Directories& directories_;
};

}
