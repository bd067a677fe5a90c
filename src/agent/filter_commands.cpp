#include "agent/driver_link.h"
#include "platform/clock.h"

#include <algorithm>

// The driver link's commands to the driver, and the thread that follows the filter's state.

namespace vossel {

namespace {

constexpr Clock::Duration pollPause = std::chrono::seconds(5);
constexpr Clock::Duration firstPollPause = std::chrono::seconds(1);
constexpr Clock::Duration reloadPause = std::chrono::seconds(6);

}

// At most output.size() bytes of what the driver returns are taken.
DriverStatus DriverLink::callLocked(
    std::uint32_t selector, std::span<const std::byte> input, std::span<std::byte> output)
{
    if (!g_driverConnection)
        return driverUnreachable;
    std::size_t outputSize = 0;
    return g_driverConnection->call(selector, input, output, outputSize);
}

DriverStatus DriverLink::callMethod(std::uint32_t selector, std::span<const std::byte> input)
{
    const MutexLock lock(connectionLock_);
    return callLocked(selector, input, {});
}

DriverStatus DriverLink::callWithKey(std::uint32_t selector)
{
    const MutexLock lock(connectionLock_);
    return callLocked(selector, g_skey, {});
}

DriverStatus DriverLink::updateFilterStatus()
{
    const Connection connection = currentConnection();
    DriverStatus result = driverUnreachable;
    {
        const MutexLock lock(g_sharedLock);
        result = callWithKey(METHOD_FILTER_STATUS);
    }
    {
        const MutexLock lock(g_sharedLock);
        g_lastFilterState = result == driverSuccess ? STATE_FILTERING : STATE_OFF;
    }
    filterStatus_.updateStatus(result == driverSuccess ? FILTER_ENABLED : FILTER_DISABLED);
    // The connection may have ended since the driver spoke, and its end been published before this.
    if (!connection || !isCurrent(connection))
        filterStatus_.updateStatus(FILTER_DISABLED);
    return result;
}

// Ends with the connection that it was started for.
void DriverLink::filterStatusManager(const Connection& connection)
{
    while (isCurrent(connection)) {
        Clock::Duration pause = pollPause;
        {
            const MutexLock lock(g_sharedLock);
            if (g_lastFilterState == STATE_UNKNOWN)
                pause = firstPollPause;
        }
        if (!services_.clock.sleep(pause) || !isCurrent(connection))
            return;
        (void)updateFilterStatus();
    }
}

DriverStatus DriverLink::startFilter()
{
    const DriverStatus status = callMethod(METHOD_START_FILTER, {});
    if (status == driverSuccess && filterStatus_.statusBarStatus() != FILTER_INITIALIZING)
        filterStatus_.updateStatus(FILTER_ENABLED);
    return status;
}

DriverStatus DriverLink::stopFilter()
{
    const DriverStatus status = callWithKey(METHOD_STOP_FILTER);
    if (status == driverSuccess)
        filterStatus_.updateStatus(FILTER_DISABLED);
    return status;
}

DriverStatus DriverLink::reloadRules()
{
    return callWithKey(METHOD_RELOAD_RULES);
}

void DriverLink::reloadQuiet()
{
    (void)callWithKey(METHOD_RELOAD_QUIET);
}

// Hang-ups in quick succession cause one reload.
void DriverLink::handleHUPEvent()
{
    const MutexLock lock(connectionLock_);
    const Clock::Instant now = services_.clock.now();
    if (g_lastReload && now - *g_lastReload < reloadPause)
        return;
    g_lastReload = now;
    (void)callLocked(METHOD_RELOAD_QUIET, g_skey, {});
}

DriverStatus DriverLink::claim_notification_port()
{
    {
        const MutexLock lock(connectionLock_);
        if (g_connected)
            return driverSuccess;
        SessionKey key{};
        if (const DriverStatus status = callLocked(METHOD_OPEN_SESSION, {}, key))
            return status;
        g_skey = key;
        if (const DriverStatus status = g_driverConnection->setNotificationPort(g_notifyPort))
            return status;
        g_connected = true;
    }
    return updateFilterStatus();
}

DriverStatus DriverLink::release_notification_port()
{
    const MutexLock lock(connectionLock_);
    if (!g_connected)
        return driverSuccess;
    const DriverStatus status = callLocked(METHOD_RELEASE_PORT, g_skey, {});
    if (status == driverSuccess)
        g_connected = false;
    return status;
}

}
