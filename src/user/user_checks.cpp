#include "user/user_checks.h"

#include "foundation/files.h"
#include "platform/accounts.h"

namespace vossel {

bool isAdministrator(const Accounts& accounts)
{
    const auto user = accounts.realUserId();
    if (user == 0)
        return false;
    const auto group = accounts.administratorsGroup();
    return group && accounts.isMember(user, *group).value_or(false);
}

bool UserChecks::isRoot() const
{
    return accounts_.realUserId() == 0;
}

bool UserChecks::hasConsole() const
{
    return accounts_.consoleUser().has_value();
}

bool UserChecks::isAdminUser() const
{
    return isAdministrator(accounts_);
}

bool UserChecks::canCreateRules() const
{
    return isRoot() || isWritable(directories_.sharedData());
}

bool UserChecks::checkFirstRunMode() const
{
    return fileExists(directories_.firstRunMarker());
}

bool UserChecks::checkLearningMode() const
{
    return fileExists(directories_.learningModeMarker());
}

}
