#include "programs/agent_assembly.h"

#include "foundation/log.h"
#include "hosts/desktop/logind_lock.h"
#include "hosts/desktop/signal_calls.h"

#include <QCoreApplication>

#include <signal.h>
#include <unistd.h>

#include <cstdio>

namespace vossel {

namespace {

constexpr Clock::Duration joinPause = std::chrono::milliseconds(100);
constexpr int joinPauses = 60;

}

AgentAssembly::AgentAssembly(std::string_view prefix, const UserInterface::Factory& interface)
    : directories_(prefix)
    , driver_(directories_.driverSocket())
    , session_(LogindLock())
    , codeSigning_(packages_)
    , authenticator_([this] { return userChecks_.isRoot() || userChecks_.isAdminUser(); })
    , processControl_(signalThreads_)
    , interface_(interface({clock_, mainThread_, timers_, processes_, processControl_,
          [this](const std::string& reason) { loseUser(reason); }}))
    , host_{clock_, threads_, mainThread_, timers_, driver_, session_, accounts_, processes_,
          installers_, volumes_, codeSigning_, authenticator_, interface_->notifications(),
          interface_->notices(), interface_->windows(), workspace_, interface_->processControl(),
          interface_->alertSound()}
    , userChecks_(host_, directories_)
    , manager_(host_, directories_, userChecks_)
    , prompts_(PromptContext{host_, directories_, manager_, interface_->presenter()})
    , link_(host_, directories_, userChecks_, filterStatus_, manager_)
{
    authenticator_.setQuestion(interface_->question());
    interface_->setManager(&manager_);
    manager_.setPromptFactory(&prompts_);
    link_.setResponseListener(&interface_->responses());
}

int AgentAssembly::run()
{
    const SignalCalls signals({SIGTERM, SIGINT}, [this] { endService(); });
    if (!start()) {
        std::fputs("VosselUserAgent: the system has no thread left\n", stderr);
        interface_->stop();
        return endThreads() ? 2 : (::_exit(2), 2);
    }
    QCoreApplication::exec();
    interface_->stop();
    mainThread_.shutDown();
    filterStatus_.setObserver({});
    // A thread that hangs could touch what goes away now. Everything that matters has been closed,
    // and the events were written as they came.
    if (!endThreads()) {
        logText("a thread does not end; the program leaves without it");
        ::_exit(status_);
    }
    return status_;
}

bool AgentAssembly::start()
{
    filterStatus_.setObserver(
        [this](std::int32_t status) { interface_->filterStatusChanged(status); });
    return interface_->start(threads_) && threads_.launch("driver loop", [this] { serve(); });
}

// The driver loop's thread.
void AgentAssembly::serve()
{
    link_.agent_main();
    mainThread_.perform([this] {
        if (!asked_)
            std::fputs("VosselUserAgent: somebody is logged in at the console; their own agent "
                       "serves the driver\n",
                stderr);
        endService();
    });
}

// The connection goes first: an answer that comes of ending (a dialog cut short) is nobody's
// decision, and the driver decides by its own default what is still open.
void AgentAssembly::endService()
{
    asked_ = true;
    clock_.stop();
    (void)link_.release_notification_port();
    link_.closeConnection();
    QCoreApplication::quit();
}

void AgentAssembly::loseUser(const std::string& reason)
{
    std::fprintf(stderr, "VosselUserAgent: %s\n", reason.c_str());
    status_ = 2;
    endService();
}

// A connection may have been opened, or a query presented, just after the last was ended.
bool AgentAssembly::endThreads()
{
    for (int i = 0; i < joinPauses; ++i) {
        clock_.stop();
        link_.closeConnection();
        manager_.cancelQuery();
        if (threads_.joinAll(joinPause))
            return true;
    }
    return false;
}

}
