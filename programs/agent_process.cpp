#include "programs/agent_process.h"

#include "foundation/log.h"
#include "hosts/desktop/signal_calls.h"

#include <QCoreApplication>

#include <signal.h>
#include <unistd.h>

#include <cstdio>

namespace vossel {

namespace {

constexpr Clock::Duration joinPause = std::chrono::milliseconds(100);
constexpr int maxJoinPauses = 60;

bool isRootOrAdministrator(const Accounts& accounts)
{
    return accounts.realUserId() == 0 || isAdministrator(accounts);
}

}

AgentProcess::AgentProcess(std::string_view prefix, const UserInterface::Factory& interface)
    : directories_(prefix)
    , host_(directories_.driverSocket(), isRootOrAdministrator)
    , interface_(interface({
          .clock = host_.clock,
          .mainThread = host_.mainThread,
          .timers = host_.timers,
          .processControl = host_.processControl,
          .lost = [this](const std::string& reason) { loseUser(reason); },
      }))
    , agent_(host_.with(interface_->services()), directories_, *interface_)
{
    host_.authenticator.setQuestion(interface_->question());
}

int AgentProcess::run()
{
    const SignalCalls signals({SIGTERM, SIGINT}, [this] { end(); });
    if (!agent_.start([this] { served(); })) {
        std::fputs("VosselUserAgent: the system has no thread left\n", stderr);
        status_ = 2;
    } else {
        QCoreApplication::exec();
    }
    agent_.stop();
    host_.mainThread.shutDown();
    // A thread that hangs could touch what goes away now. Everything that matters has been closed,
    // and the events were written as they came.
    if (!endThreads()) {
        logText("a thread does not end; the program leaves without it");
        ::_exit(status_);
    }
    return status_;
}

void AgentProcess::served()
{
    if (!ending_)
        std::fputs("VosselUserAgent: somebody is logged in at the console; their own agent serves "
                   "the driver\n",
            stderr);
    end();
}

void AgentProcess::end()
{
    ending_ = true;
    host_.clock.stop();
    agent_.leaveDriver();
    QCoreApplication::quit();
}

void AgentProcess::loseUser(const std::string& reason)
{
    std::fprintf(stderr, "VosselUserAgent: %s\n", reason.c_str());
    status_ = 2;
    end();
}

bool AgentProcess::endThreads()
{
    for (int i = 0; i < maxJoinPauses; ++i) {
        host_.clock.stop();
        agent_.releaseThreads();
        if (host_.threads.joinAll(joinPause))
            return true;
    }
    return false;
}

}
