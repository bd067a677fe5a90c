#include "agent/driver_link.h"

#include "foundation/diagnostics.h"
#include "foundation/log.h"
#include "platform/clock.h"
#include "platform/notifications.h"
#include "platform/process_control.h"
#include "platform/threads.h"
#include "prompting/permissions_manager.h"
#include "user/user_checks.h"

#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace vossel {

namespace {

constexpr Clock::Duration reconnectPause = std::chrono::seconds(5);

}

DriverLink::Services::Services(const Host& host)
    : clock(host.clock)
    , threads(host.threads)
    , driver(host.driver)
    , session(host.session)
    , notices(host.notices)
    , processControl(host.processControl)
{
}

DriverLink::DriverLink(const Services& services, const Directories& directories,
    const UserChecks& userChecks, FilterStatus& filterStatus, PermissionsManager& broker)
    : services_(services)
    , directories_(directories)
    , userChecks_(userChecks)
    , filterStatus_(filterStatus)
    , broker_(broker)
{
}

DriverLink::~DriverLink() = default;

// A root agent serves only while nobody is logged in at the console; a user's agent always.
bool DriverLink::mayServe() const
{
    return !(userChecks_.isRoot() && userChecks_.hasConsole());
}

int DriverLink::agent_main()
{
    services_.processControl.onHangUp([this] { handleHUPEvent(); });
    services_.processControl.denyDebuggers();
    while (mayServe()) {
        (void)startDriverComms();
        filterStatus_.updateStatus(FILTER_DISABLED);
        if (!services_.clock.sleep(reconnectPause))
            break;
    }
    services_.processControl.onHangUp({});
    return 0;
}

DriverStatus DriverLink::startDriverComms()
{
    switch (services_.driver.match()) {
    case DriverService::Match::Failed:
        return driverUnreachable;
    case DriverService::Match::None:
        return driverSuccess;
    case DriverService::Match::Found:
        break;
    }
    const Connection connection = services_.driver.open();
    if (!connection)
        return driverSuccess;
    {
        const MutexLock lock(connectionLock_);
        g_driverConnection = connection;
    }
    const DriverStatus status = serve(connection);
    endConnection(connection);
    return status;
}

DriverStatus DriverLink::serve(const Connection& connection)
{
    if (const DriverStatus status = openSession(); status != driverSuccess) {
        warnOfRefusedSession();
        return status;
    }
    (void)updateFilterStatus();
    if (!services_.threads.launch(
            "status poller", [this, connection] { filterStatusManager(connection); }))
        LOG_("driver link", "no thread for the status poller; the status will not be followed");
    {
        const MutexLock lock(connectionLock_);
        g_notifyPort = connection->createNotificationPort();
        if (g_notifyPort == 0 || connection->setNotificationPort(g_notifyPort) != driverSuccess)
            return driverUnreachable;
        g_connected = true;
    }
    std::vector<std::byte> message;
    while (connection->receive(message))
        notificationCallback(message);
    return driverSuccess;
}

DriverStatus DriverLink::openSession()
{
    const MutexLock lock(connectionLock_);
    SessionKey key{};
    const DriverStatus status = callLocked(METHOD_OPEN_SESSION, {}, key);
    if (status == driverSuccess)
        g_skey = key;
    return status;
}

void DriverLink::warnOfRefusedSession()
{
    {
        const MutexLock lock(connectionLock_);
        if (std::exchange(g_connectWarning, true))
            return;
    }
    LOG_("driver link", "the driver refuses a session");
    Notice notice;
    notice.header = "Cannot Connect to Vossel";
    notice.message = "The user agent is unable to connect to Vossel.";
    services_.notices.displayAndWait(notice);
}

void DriverLink::endConnection(const Connection& connection)
{
    connection->close();
    {
        const MutexLock lock(connectionLock_);
        if (g_driverConnection == connection)
            g_driverConnection.reset();
        g_connected = false;
        g_notifyPort = 0;
    }
    // Nobody is left to hear what the user would decide. The status goes first: whoever is woken by
    // the cancellation takes it for the reason.
    filterStatus_.updateStatus(FILTER_DISABLED);
    broker_.cancelQuery();
}

void DriverLink::closeConnection()
{
    if (const Connection connection = currentConnection())
        connection->close();
}

DriverLink::Connection DriverLink::currentConnection() const
{
    const MutexLock lock(connectionLock_);
    return g_driverConnection;
}

bool DriverLink::isCurrent(const Connection& connection) const
{
    const MutexLock lock(connectionLock_);
    return g_driverConnection == connection;
}

bool DriverLink::isConnected() const
{
    const MutexLock lock(connectionLock_);
    return g_connected;
}

void DriverLink::notificationCallback(std::span<const std::byte> message)
{
    if (message.size() < messagePayloadOffset) {
        logText("the driver sent a message of %@ bytes, which has no type; it was dropped",
            std::to_string(message.size()));
        return;
    }
    std::uint32_t type = 0;
    std::memcpy(&type, message.data() + messageTypeOffset, sizeof type);
    switch (type) {
    case MSG_POLICY_QUERY:
        startQuery(message);
        break;
    case MSG_FILTER_STOPPED:
        filterStatus_.updateStatus(FILTER_DISABLED);
        broker_.cancelQuery();
        break;
    case MSG_AUTODETECT:
        reportProgram(message);
        break;
    default:
        break;
    }
}

void DriverLink::reportProgram(std::span<const std::byte> message)
{
    if (message.size() < programNoticeCodeSignOffset) {
        logText("the driver sent a program notice that is too short; it was dropped");
        return;
    }
    char path[programNoticePathSize];
    std::memcpy(path, message.data() + programNoticePathOffset, sizeof path);
    if (autodetect_)
        autodetect_->autodetectRulesForPath(
            std::string(textOf(path)), message.subspan(programNoticeCodeSignOffset));
}

}
