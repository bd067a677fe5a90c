#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vossel {

using UserId = std::uint32_t;
using GroupId = std::uint32_t;

// Users, groups and who sits at the console; asked afresh at each call, from any thread.
class Accounts {
public:
    virtual ~Accounts() = default;

    [[nodiscard]] virtual UserId realUserId() const = 0;
    // The real user's. A user without an account is called by their number and lives in "/".
    [[nodiscard]] virtual std::string loginName() const = 0;
    // Without a trailing "/".
    [[nodiscard]] virtual std::string homeDirectory() const = 0;

    // Empty while nobody is logged in at the console.
    [[nodiscard]] virtual std::optional<std::string> consoleUser() const = 0;

    // The group "admin", or what the system has in its place; empty when there is none.
    [[nodiscard]] virtual std::optional<GroupId> administratorsGroup() const = 0;
    // Empty when the system could not tell.
    [[nodiscard]] virtual std::optional<bool> isMember(UserId user, GroupId group) const = 0;

    [[nodiscard]] virtual std::optional<UserId> userIdOf(std::string_view account) const = 0;
};

}
