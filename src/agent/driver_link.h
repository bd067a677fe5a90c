#pragma once

#include "agent/driver_link_interfaces.h"
#include "agent/filter_status.h"
#include "foundation/mutex.h"
#include "platform/driver_service.h"
#include "platform/host.h"
#include "settings/directories.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace vossel {

class PermissionsManager;
class UserChecks;

// The agent's side of the driver: finds and opens it, answers each of its queries on a thread of
// its own, one at a time, and keeps the filter status in step. agent_main() runs on a thread of its
// own; the commands may be called from any thread.
//
// g_promptLock is held across one whole answer, g_sharedLock around the status call, the last state
// and the response call, connectionLock_ around each call to the driver and whatever else concerns
// the connection. Only g_promptLock is held while the filter status or the broker is called.
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
    DriverStatus updateFilterStatus() VOSSEL_EXCLUDES(g_sharedLock, connectionLock_);
    DriverStatus startFilter();
    DriverStatus stopFilter();
    DriverStatus reloadRules();
    void reloadQuiet();
    DriverStatus claim_notification_port();
    DriverStatus release_notification_port();

    void handleHUPEvent();

    [[nodiscard]] bool isConnected() const;

private:
    enum LastFilterState : std::int32_t { STATE_UNKNOWN = -1, STATE_OFF = 0, STATE_FILTERING = 1 };
    using SessionKey = std::array<std::byte, 64>;
    using Connection = std::shared_ptr<DriverConnection>;

    [[nodiscard]] bool mayServe() const;
    [[nodiscard]] DriverStatus serve(const Connection& connection);
    [[nodiscard]] DriverStatus openSession() VOSSEL_EXCLUDES(connectionLock_);
    void warnOfRefusedSession();
    void endConnection(const Connection& connection);
    void filterStatusManager(const Connection& connection);
    void reportProgram(std::span<const std::byte> message);
    [[nodiscard]] bool isCurrent(const Connection& connection) const
        VOSSEL_EXCLUDES(connectionLock_);

    [[nodiscard]] DriverStatus callMethod(std::uint32_t selector, std::span<const std::byte> input)
        VOSSEL_EXCLUDES(connectionLock_);
    [[nodiscard]] DriverStatus callWithKey(std::uint32_t selector) VOSSEL_EXCLUDES(connectionLock_);
    [[nodiscard]] DriverStatus callLocked(std::uint32_t selector, std::span<const std::byte> input,
        std::span<std::byte> output) VOSSEL_REQUIRES(connectionLock_);

    // A query belongs to the connection that it came over: when that has ended there is nobody to
    // answer, and its token may mean another query of the next one.
    int handlePolicyQuery(const policy_query_message& message, const Connection& connection)
        VOSSEL_EXCLUDES(g_promptLock);
    [[nodiscard]] bool quietWhileLocked() const;
    [[nodiscard]] bool nobodyToAsk() const;
    QueryWait::Outcome promptUserForPermission(const policy_query& query,
        user_prompt_response& response, const Connection& connection) VOSSEL_REQUIRES(g_promptLock);
    [[nodiscard]] bool deliver(user_prompt_response& response, const policy_query& query,
        const Connection& connection) VOSSEL_EXCLUDES(g_sharedLock, connectionLock_);
    void startQuery(std::span<const std::byte> message);
    void refuseQuery(const policy_query_message& message, const Connection& connection);
    [[nodiscard]] Connection currentConnection() const VOSSEL_EXCLUDES(connectionLock_);

    const Services services_;
    const Directories& directories_;
    const UserChecks& userChecks_;
    FilterStatus& filterStatus_;
    PermissionsManager& broker_;
    AutodetectRoute* autodetect_ = nullptr;
    ResponseListener* responseListener_ = nullptr;

    Mutex g_promptLock VOSSEL_ACQUIRED_BEFORE(g_sharedLock, connectionLock_);
    Mutex g_sharedLock VOSSEL_ACQUIRED_BEFORE(connectionLock_);
    mutable Mutex connectionLock_;

    std::int32_t g_lastFilterState VOSSEL_GUARDED_BY(g_sharedLock) = STATE_UNKNOWN;

    Connection g_driverConnection VOSSEL_GUARDED_BY(connectionLock_);
    SessionKey g_skey VOSSEL_GUARDED_BY(connectionLock_){};
    PortName g_notifyPort VOSSEL_GUARDED_BY(connectionLock_) = 0;
    bool g_connected VOSSEL_GUARDED_BY(connectionLock_) = false;
    bool g_connectWarning VOSSEL_GUARDED_BY(connectionLock_) = false;
    std::optional<Clock::Instant> g_lastReload VOSSEL_GUARDED_BY(connectionLock_);
};

}
