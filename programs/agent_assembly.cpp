#include "programs/agent_assembly.h"

#include "foundation/log.h"
#include "hosts/desktop/logind_lock.h"
#include "hosts/desktop/termination_signals.h"

#include <QCoreApplication>

#include <unistd.h>

#include <cstdio>

namespace vossel {

namespace {

constexpr Clock::Duration joinPause = std::chrono::milliseconds(100);
constexpr int joinPauses = 60;

}

AgentAssembly::AgentAssembly(std::string_view prefix, int input, int output)
    : directories_(prefix)
    , output_(descriptorWriter(output), [this] { mainThread_.perform([this] { loseOutput(); }); })
    , driver_(directories_.driverSocket())
    , session_(LogindLock())
    , codeSigning_(packages_)
    , authenticator_([this] { return userChecks_.isRoot() || userChecks_.isAdminUser(); })
    , notifications_(output_)
    , notices_(output_)
    , processControl_(signalThreads_)
    , host_{clock_, threads_, mainThread_, timers_, driver_, session_, accounts_, processes_,
          installers_, volumes_, codeSigning_, authenticator_, notifications_, notices_, windows_,
          workspace_, processControl_}
    , userChecks_(host_, directories_)
    , lines_(output_, mainThread_, clock_)
    , manager_(host_, directories_, userChecks_)
    , prompts_(PromptContext{host_, directories_, manager_, lines_})
    , link_(host_, directories_, userChecks_, filterStatus_, manager_)
    , reader_(input, mainThread_,
          [this](std::string_view line, bool tooLong) { lines_.take(line, tooLong); })
{
    lines_.setManager(&manager_);
    manager_.setPromptFactory(&prompts_);
    link_.setResponseListener(&lines_);
}

int AgentAssembly::run()
{
    const TerminationSignals signals([this] { endService(); });
    if (!start()) {
        std::fputs("VosselUserAgent: the system has no thread left\n", stderr);
        reader_.stop();
        return endThreads() ? 2 : (::_exit(2), 2);
    }
    QCoreApplication::exec();
    reader_.stop();
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
    filterStatus_.setObserver([this](std::int32_t status) {
        output_.write({{"event", "status"}, {"status", status}});
    });
    return reader_.start(threads_) && threads_.launch("driver loop", [this] { serve(); });
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

void AgentAssembly::loseOutput()
{
    std::fputs(
        "VosselUserAgent: nobody reads the events; there is no way to ask anybody\n", stderr);
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
