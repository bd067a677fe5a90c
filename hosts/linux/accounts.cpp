#include "hosts/linux/accounts.h"

#include "foundation/files.h"
#include "hosts/linux/c_text.h"

#include <systemd/sd-login.h>

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

namespace vossel {

namespace {

struct Account {
    std::string name;
    std::string home;
    GroupId group = 0;
    UserId id = 0;
};

// What a name service look-up says; `Unknown` is its definite "there is none".
enum class LookUp { Found, Unknown, Failed };

constexpr std::size_t maxEntrySize = 1024 * 1024;

// Calls a getpwnam_r or its like with a buffer that is large enough.
template <class Entry, class Call>
LookUp lookUp(std::vector<char>& buffer, Entry& entry, const Call& call)
{
    for (buffer.resize(1024); buffer.size() <= maxEntrySize; buffer.resize(buffer.size() * 4)) {
        Entry* found = nullptr;
        int error = 0;
        do {
            error = call(&entry, buffer.data(), buffer.size(), &found);
        } while (error == EINTR);
        if (found)
            return LookUp::Found;
        // These too are how name services say that there is no such entry.
        if (error == 0 || error == ENOENT || error == ESRCH || error == EPERM)
            return LookUp::Unknown;
        if (error != ERANGE)
            return LookUp::Failed;
    }
    return LookUp::Failed;
}

template <class Call>
LookUp lookUpAccount(Account& account, const Call& call)
{
    std::vector<char> buffer;
    passwd entry = {};
    const LookUp result = lookUp(buffer, entry, call);
    if (result == LookUp::Found)
        account = {entry.pw_name, entry.pw_dir ? entry.pw_dir : "", entry.pw_gid, entry.pw_uid};
    return result;
}

LookUp accountOf(UserId user, Account& account)
{
    return lookUpAccount(account, [user](passwd* entry, char* buffer, size_t size, passwd** found) {
        return ::getpwuid_r(user, entry, buffer, size, found);
    });
}

std::optional<GroupId> groupNamed(const char* name)
{
    std::vector<char> buffer;
    group entry = {};
    const auto result
        = lookUp(buffer, entry, [name](group* into, char* memory, size_t size, group** found) {
              return ::getgrnam_r(name, into, memory, size, found);
          });
    return result == LookUp::Found ? std::optional<GroupId>(entry.gr_gid) : std::nullopt;
}

std::string nameOf(UserId user)
{
    return LinuxAccounts::accountName(user).value_or(std::to_string(user));
}

}

LinuxAccounts::LinuxAccounts(std::string_view root)
    : root_(root)
{
}

std::optional<std::string> LinuxAccounts::accountName(UserId user)
{
    Account account;
    if (accountOf(user, account) != LookUp::Found)
        return std::nullopt;
    return account.name;
}

UserId LinuxAccounts::realUserId() const
{
    return ::getuid();
}

std::string LinuxAccounts::loginName() const
{
    return nameOf(::getuid());
}

std::string LinuxAccounts::homeDirectory() const
{
    Account account;
    if (accountOf(::getuid(), account) != LookUp::Found || !account.home.starts_with('/'))
        return "/";
    account.home.resize(std::max<std::size_t>(account.home.find_last_not_of('/') + 1, 1));
    return account.home;
}

std::optional<std::string> LinuxAccounts::consoleUser() const
{
    CText session;
    uid_t user = 0;
    const int seat = ::sd_seat_get_active("seat0", session.into(), &user);
    if (seat >= 0) {
        CText kind;
        const std::string name(session.text());
        if (::sd_session_get_class(name.c_str(), kind.into()) >= 0 && kind.text() == "greeter")
            return std::nullopt;
        return nameOf(user);
    }
    // logind knows the seat, and nobody sits there.
    if (seat == -ENODATA)
        return std::nullopt;
    const auto owner = terminalOwner();
    return owner && *owner != 0 ? std::optional(nameOf(*owner)) : std::nullopt;
}

std::optional<UserId> LinuxAccounts::terminalOwner() const
{
    const auto active = readFile(root_.at("/sys/class/tty/tty0/active"), 256);
    if (!active)
        return std::nullopt;
    const std::string name = active->substr(0, active->find('\n'));
    struct stat terminal = {};
    if (name.empty() || name.find('/') != std::string::npos
        || ::stat(root_.at("/dev/" + name).c_str(), &terminal) != 0)
        return std::nullopt;
    return terminal.st_uid;
}

std::optional<GroupId> LinuxAccounts::administratorsGroup() const
{
    for (const char* name : {"sudo", "wheel", "admin"})
        if (const auto group = groupNamed(name))
            return group;
    return std::nullopt;
}

std::optional<bool> LinuxAccounts::isMember(UserId user, GroupId group) const
{
    Account account;
    switch (accountOf(user, account)) {
    case LookUp::Found:
        break;
    case LookUp::Unknown:
        return false;
    case LookUp::Failed:
        return std::nullopt;
    }
    std::vector<gid_t> groups(64);
    for (;;) {
        int count = static_cast<int>(groups.size());
        if (::getgrouplist(account.name.c_str(), account.group, groups.data(), &count) >= 0) {
            const auto end = groups.begin() + count;
            return std::find(groups.begin(), end, group) != end;
        }
        if (count <= static_cast<int>(groups.size()) || count > 1'000'000)
            return std::nullopt;
        groups.resize(static_cast<std::size_t>(count));
    }
}

std::optional<UserId> LinuxAccounts::userIdOf(std::string_view account) const
{
    const std::string name(account);
    if (name.find('\0') != std::string::npos)
        return std::nullopt;
    Account found;
    const auto result
        = lookUpAccount(found, [&name](passwd* entry, char* buffer, size_t size, passwd** into) {
              return ::getpwnam_r(name.c_str(), entry, buffer, size, into);
          });
    return result == LookUp::Found ? std::optional(found.id) : std::nullopt;
}

}
