#pragma once

#include "settings/directories.h"

namespace vossel {

class Accounts;

// Whether the real user is an administrator: never root; true only when the system reports
// membership in the administrators' group.
[[nodiscard]] bool isAdministrator(const Accounts& accounts);

// Who the user is and what they may do; answered afresh at each call, from any thread.
class UserChecks {
public:
    UserChecks(const Accounts& accounts, const Directories& directories)
        : accounts_(accounts)
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
    const Accounts& accounts_;
    const Directories& directories_;
};

}
