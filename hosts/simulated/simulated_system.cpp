#include "hosts/simulated/simulated_system.h"

#include <utility>

namespace vossel {

namespace {

template <class Item>
void append(Guarded<std::vector<Item>>& list, Item item)
{
    list.with([&](std::vector<Item>& items) { items.push_back(std::move(item)); });
}

}

std::optional<bool> SimulatedAccounts::isMember(UserId user, GroupId group) const
{
    const Facts now = facts.get();
    if (user != now.realUserId || group != now.administratorsGroup)
        return false;
    return now.isAdministrator;
}

std::optional<UserId> SimulatedAccounts::userIdOf(std::string_view account) const
{
    const Facts now = facts.get();
    const auto found = now.accounts.find(account);
    return found == now.accounts.end() ? std::nullopt : std::optional(found->second);
}

std::int32_t SimulatedProcesses::parentOf(std::uint32_t pid) const
{
    const auto processes = table.get();
    const auto found = processes.find(pid);
    return found == processes.end() ? -1 : found->second.parent;
}

std::string SimulatedProcesses::executablePath(std::uint32_t pid) const
{
    const auto processes = table.get();
    const auto found = processes.find(pid);
    return found == processes.end() ? std::string() : found->second.path;
}

std::vector<std::uint32_t> SimulatedProcesses::all() const
{
    std::vector<std::uint32_t> pids;
    for (const auto& [pid, process] : table.get())
        pids.push_back(pid);
    return pids;
}

void SimulatedProcesses::add(std::uint32_t pid, std::int32_t parent, std::string path)
{
    table.with([&](auto& processes) { processes[pid] = {parent, std::move(path)}; });
}

bool SimulatedVolumes::isDiskImage(const std::string& mountPoint) const
{
    return diskImages.get().contains(mountPoint);
}

bool SimulatedCodeSigning::isCode(const std::string& path) const
{
    return code.get().contains(path);
}

std::int32_t SimulatedCodeSigning::checkValidity(const std::string& path, std::uint32_t flags) const
{
    lastFlags.set(flags);
    const auto known = code.get();
    const auto found = known.find(path);
    return found == known.end() ? -1 : found->second.result;
}

std::optional<PropertyList> SimulatedCodeSigning::signingInformation(const std::string& path) const
{
    const auto known = code.get();
    const auto found = known.find(path);
    return found == known.end() ? std::nullopt : found->second.information;
}

bool SimulatedAuthenticator::evaluateFingerprint(std::string_view reason)
{
    append(asked, "fingerprint: " + std::string(reason));
    return fingerprintMatches.get();
}

bool SimulatedAuthenticator::obtainAdministratorRight()
{
    append(asked, std::string("password"));
    if (const auto during = duringDialog.get())
        during();
    return isAdministrator.get();
}

void SimulatedNotifications::deliver(const UserNotification& notification)
{
    append(delivered, notification);
}

void SimulatedNotifications::removeDelivered(const std::string& identifier)
{
    append(removed, identifier);
}

void SimulatedNotices::display(const Notice& notice)
{
    append(displayed, notice);
}

void SimulatedNotices::displayAndWait(const Notice& notice)
{
    append(displayedAndDismissed, notice);
}

void SimulatedWindows::storeProgramIcon(const std::string& program, const std::string& file)
{
    programIcons.with([&](auto& icons) { icons[file] = program; });
}

void SimulatedWindows::activateApplication()
{
    append(acts, std::string("activate"));
}

void SimulatedWindows::deactivateApplication()
{
    append(acts, std::string("deactivate"));
}

void SimulatedWindows::hideApplication()
{
    append(acts, std::string("hide"));
}

void SimulatedWorkspace::launchApplication(const std::string& path)
{
    append(launched, path);
}

void SimulatedProcessControl::hangUp()
{
    if (const auto handler = hangUpHandler.get())
        handler();
}

}
