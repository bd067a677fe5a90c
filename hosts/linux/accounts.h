#pragma once

#include "hosts/linux/system_root.h"
#include "platform/accounts.h"

namespace vossel {

// Users and groups from the system's name service (so from a directory server too), the person at
// the console from logind or, without it, from who owns the visible terminal. Any thread.
class LinuxAccounts final : public Accounts {
public:
    // `root` holds /sys and /dev.
    explicit LinuxAccounts(std::string_view root = "/");

    // Nothing where there is no such account, or none can be looked up.
    [[nodiscard]] static std::optional<std::string> accountName(UserId user);

    [[nodiscard]] UserId realUserId() const override;
    [[nodiscard]] std::string loginName() const override;
    // Of the account, never of $HOME: that is the caller's word, and names somebody else's folder
    // under many ways of becoming another user.
    [[nodiscard]] std::string homeDirectory() const override;
    // Nobody while a login screen is shown, or while root owns the visible terminal: a terminal
    // without a login belongs to root too.
    [[nodiscard]] std::optional<std::string> consoleUser() const override;
    // The first that exists of sudo, wheel, admin.
    [[nodiscard]] std::optional<GroupId> administratorsGroup() const override;
    // By the group files, not by what a running process still has; a user without an account is
    // no member of anything.
    [[nodiscard]] std::optional<bool> isMember(UserId user, GroupId group) const override;
    [[nodiscard]] std::optional<UserId> userIdOf(std::string_view account) const override;

private:
    [[nodiscard]] std::optional<UserId> terminalOwner() const;

    SystemRoot root_;
};

}
