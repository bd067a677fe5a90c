#include "app/agent.h"

#include "platform/threads.h"

#include <utility>

namespace vossel {

Agent::Agent(const Host& host, const Directories& directories, UserInterface& interface)
    : host_(host)
    , interface_(interface)
    , userChecks_(host_.accounts, directories)
    , manager_(host_, directories, userChecks_)
    , prompts_(PromptContext{host_, directories, manager_, interface_.presenter()})
    , link_(host_, directories, userChecks_, filterStatus_, manager_)
{
    manager_.setPromptFactory(&prompts_);
    link_.setResponseListener(&interface_.responses());
}

bool Agent::start(std::function<void()> served)
{
    filterStatus_.setObserver(
        [this](std::int32_t status) { interface_.filterStatusChanged(status); });
    return interface_.start(host_.threads)
        && host_.threads.launch("driver loop", [this, served = std::move(served)] {
               link_.agent_main();
               host_.mainThread.perform(served);
           });
}

void Agent::leaveDriver()
{
    (void)link_.release_notification_port();
    link_.closeConnection();
}

void Agent::stop()
{
    interface_.stop();
    filterStatus_.setObserver({});
}

void Agent::releaseThreads()
{
    link_.closeConnection();
    manager_.cancelQuery();
}

}
