#pragma once

#include "agent/driver_link_interfaces.h"
#include "agent/filter_status.h"
#include "platform/driver_service.h"
#include "platform/host.h"
#include "settings/directories.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>

namespace vossel {

class PermissionsManager;
class UserChecks;

// The agent's side of the driver: finds and opens it, answers each of its queries on a thread of
// its own, one at a time, and keeps the filter status in step. agent_main() runs on a thread of its
// own; the commands may be called from any thread.
//
// Lock order: g_promptLock, g_sharedLock, connectionLock_; each query's own wait is innermost.
// g_promptLock is held across one whole answer, g_sharedLock around the status call, the last state
// and the response call, connectionLock_ around each call to the driver and whatever else concerns
// the connection. None is held while the filter status or the broker is called, but for
// g_promptLock.
class DriverLink {
public:
    struct Services {
        // Implicit on purpose: who has a host hands it over as it is.
        Services(const Host& host); // NOLINT(google-explicit-constructor)

        Clock& clock;
        ThreadLauncher& threads;
        DriverService& driver;
        const Session& session;
        Notices& notices;
        ProcessControl& processControl;
    };

    DriverLink(const Services& services, const Directories& directories,
        const UserChecks& userChecks, FilterStatus& filterStatus, PermissionsManager& broker);
    ~DriverLink();

    // Both before agent_main().
    void setAutodetectRoute(AutodetectRoute* route) { autodetect_ = route; }
    void setResponseListener(ResponseListener* listener) { responseListener_ = listener; }

    // Serves the driver for as long as it should, reconnecting 5 seconds after each end.
    int agent_main();
    // Ends the present connection, so that agent_main() comes to its pause.
    void closeConnection();

    DriverStatus startDriverComms();
    void notificationCallback(std::span<const std::byte> message);

    // Driver commands; each returns the driver's status.
    DriverStatus updateFilterStatus();
    DriverStatus startFilter();
    DriverStatus stopFilter();
    DriverStatus reloadRules();
    void reloadQuiet();
    DriverStatus claim_notification_port();
    DriverStatus release_notification_port();

    void handleHUPEvent();

    [[nodiscard]] bool isConnected() const;

private:
    using SessionKey = std::array<std::byte, 64>;
    using Connection = std::shared_ptr<DriverConnection>;

    [[nodiscard]] bool mayServe() const;
    [[nodiscard]] DriverStatus serve(const Connection& connection);
    [[nodiscard]] DriverStatus openSession();
    void warnOfRefusedSession();
    void endConnection(const Connection& connection);
    void filterStatusManager(const Connection& connection);
    void reportProgram(std::span<const std::byte> message);
    [[nodiscard]] bool isCurrent(const Connection& connection) const;

    [[nodiscard]] DriverStatus callMethod(std::uint32_t selector, std::span<const std::byte> input);
    [[nodiscard]] DriverStatus callWithKey(std::uint32_t selector);
    [[nodiscard]] DriverStatus callLocked(
        std::uint32_t selector, std::span<const std::byte> input, std::span<std::byte> output);

    // A query belongs to the connection that it came over: when that has ended there is nobody to
    // answer, and its token may mean another query of the next one.
    int handlePolicyQuery(const policy_query_message& message, const Connection& connection);
    [[nodiscard]] bool quietWhileLocked() const;
    [[nodiscard]] bool nobodyToAsk() const;
    QueryWait::Outcome promptUserForPermission(
        const policy_query& query, user_prompt_response& response, const Connection& connection);
    [[nodiscard]] bool deliver(
        user_prompt_response& response, const policy_query& query, const Connection& connection);
    void startQuery(std::span<const std::byte> message);
    void refuseQuery(const policy_query_message& message, const Connection& connection);
    [[nodiscard]] Connection currentConnection() const;

    const Services services_;
    const Directories& directories_;
    const UserChecks& userChecks_;
    FilterStatus& filterStatus_;
    PermissionsManager& broker_;
    AutodetectRoute* autodetect_ = nullptr;
    ResponseListener* responseListener_ = nullptr;

    std::mutex g_promptLock;
    std::mutex g_sharedLock;
    std::int32_t g_lastFilterState = -1; // guarded by g_sharedLock: -1 unknown, 0 off, 1 filtering

    mutable std::mutex connectionLock_;
    // Guarded by connectionLock_.
    Connection g_driverConnection;
    SessionKey g_skey{};
    PortName g_notifyPort = 0;
    bool g_connected = false;
    bool g_connectWarning = false;
    std::optional<Clock::Instant> g_lastReload;
};

}
