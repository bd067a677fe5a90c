#include "agent/driver_link.h"
#include "foundation/diagnostics.h"
#include "foundation/files.h"
#include "foundation/log.h"
#include "platform/clock.h"
#include "platform/session.h"
#include "platform/threads.h"
#include "prompting/permissions_manager.h"
#include "settings/preferences.h"

#include <cstring>
#include <memory>
#include <string>

// How the driver link answers one query: at once, or by asking the user for at most a minute.

namespace vossel {

namespace {

constexpr Clock::Duration decisionTime = std::chrono::seconds(60);
constexpr std::int64_t quiet = 2; // of "ui.prompts.while_locked"

// What a denial covers that nobody chose: everything of the kind that was attempted.
std::int32_t operationsOfDenial(std::int32_t operation)
{
    return operation == OPERATION_MOUNT
        ? OPERATION_MOUNT
        : OPERATION_READ | OPERATION_WRITE | OPERATION_CREATE | OPERATION_EXECUTE;
}

}

// The message is copied whole before the receive buffer is used again; the copy is the thread's.
void DriverLink::startQuery(std::span<const std::byte> message)
{
    if (message.size() < sizeof(policy_query_message)) {
        logText("the driver sent a query of %@ bytes, which is too short; it was dropped",
            std::to_string(message.size()));
        return;
    }
    const auto copy = std::make_shared<policy_query_message>();
    std::memcpy(copy.get(), message.data(), sizeof *copy);
    const Connection connection = currentConnection();
    if (!services_.threads.launch(
            "query", [this, copy, connection] { handlePolicyQuery(*copy, connection); }))
        refuseQuery(*copy, connection);
}

// Without a thread the query cannot wait for the user; the driver's own default decides. The prompt
// lock is left alone: whoever holds it may be waiting for a minute.
void DriverLink::refuseQuery(const policy_query_message& message, const Connection& connection)
{
    LOG_("driver link", "no thread for a query; it is answered as not shown");
    user_prompt_response response{};
    response.code = RESPONSE_NOT_SHOWN;
    (void)deliver(response, message.policy_query_, connection);
}

int DriverLink::handlePolicyQuery(const policy_query_message& message, const Connection& connection)
{
    const policy_query& query = message.policy_query_;
    const std::int32_t status = filterStatus_.statusBarStatus();
    const bool quietWhileLocked = this->quietWhileLocked();

    const MutexLock promptLock(g_promptLock);
    if (!isCurrent(connection))
        return 0;
    user_prompt_response response{};
    auto outcome = QueryWait::Outcome::Waiting;
    if (status != FILTER_ENABLED || (quietWhileLocked && nobodyToAsk()))
        response.code = RESPONSE_NOT_SHOWN;
    else
        outcome = promptUserForPermission(query, response, connection);
    const bool delivered = deliver(response, query, connection);
    if (!delivered)
        logText("a response could not be delivered: the driver has gone or refused it");
    if (responseListener_)
        responseListener_->didDeliverResponse(response, outcome);
    return 0;
}

bool DriverLink::quietWhileLocked() const
{
    return valueForPreference(directories_, preference::promptsWhileLocked) == quiet;
}

// Without a session the system has no word on the screen: the user is asked then.
bool DriverLink::nobodyToAsk() const
{
    const auto session = services_.session.current();
    return session && (session->screenLocked || !session->loginDone);
}

bool DriverLink::deliver(
    user_prompt_response& response, const policy_query& query, const Connection& connection)
{
    response.security_token = query.security_token;
    const MutexLock shared(g_sharedLock);
    const MutexLock lock(connectionLock_);
    std::memcpy(response.skey, g_skey.data(), g_skey.size());
    if (g_driverConnection != connection)
        return false;
    return callLocked(METHOD_DELIVER_RESPONSE, std::as_bytes(std::span(&response, 1)), {})
        == driverSuccess;
}

QueryWait::Outcome DriverLink::promptUserForPermission(
    const policy_query& query, user_prompt_response& response, const Connection& connection)
{
    const auto wait = std::make_shared<QueryWait>(services_.clock.now() + decisionTime);
    broker_.presentQueryToUser(query, wait);
    if (!isCurrent(connection)) // ended just now, too early for its end to cancel this query
        broker_.cancelQuery();
    QueryWait::Outcome outcome = wait->wait(services_.clock);
    if (broker_.haveResponse()) {
        response = broker_.getResponse();
        return outcome;
    }

    const std::int32_t status = filterStatus_.statusBarStatus();
    const bool prepared
        = broker_.prepareResponseToQuery(query, DECISION_DENY, broker_.recommendedPath(),
            DURATION_ONCE, PROCESS_NONE, operationsOfDenial(query.operation), 0);
    response = broker_.getResponse();
    if (!prepared)
        return wait->outcome(); // the user was quicker by a hair
    response.code = RESPONSE_NOT_ANSWERED;
    broker_.destroyWindow();
    if (status == FILTER_ENABLED && !opensForReading(directories_.failsafeRules()))
        broker_.displayGrowlNotification(
            "Timed Out Queries", "One or more queries have timed out while you were away.");
    return outcome == QueryWait::Outcome::Cancelled ? outcome : QueryWait::Outcome::TimedOut;
}

}
