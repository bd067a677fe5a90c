#include "hosts/desktop/desktop_host.h"

#include "hosts/desktop/logind_lock.h"

#include <utility>

namespace vossel {

DesktopHost::DesktopHost(
    std::string driverSocket, std::function<bool(const Accounts&)> isAdministrator)
    : driver(std::move(driverSocket))
    , session(LogindLock())
    , authenticator([this, is = std::move(isAdministrator)] { return is(accounts); })
{
}

Host DesktopHost::with(const UserServices& user)
{
    return {
        .clock = clock,
        .threads = threads,
        .mainThread = mainThread,
        .timers = timers,
        .driver = driver,
        .session = session,
        .accounts = accounts,
        .processes = processes,
        .installers = installers,
        .volumes = volumes,
        .codeSigning = codeSigning,
        .authenticator = authenticator,
        .notifications = user.notifications,
        .notices = user.notices,
        .windows = user.windows,
        .workspace = workspace,
        .processControl = user.processControl,
        .alertSound = user.alertSound,
    };
}

}
