#include "hosts/desktop/termination_signals.h"

#include "foundation/log.h"

#include <errno.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <pthread.h>
#include <utility>

namespace vossel {

namespace {

sigset_t terminationSet()
{
    sigset_t set;
    ::sigemptyset(&set);
    ::sigaddset(&set, SIGTERM);
    ::sigaddset(&set, SIGINT);
    return set;
}

}

void TerminationSignals::block()
{
    const sigset_t set = terminationSet();
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
}

TerminationSignals::TerminationSignals(std::function<void()> handler)
{
    const sigset_t set = terminationSet();
    fd_.reset(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!fd_) {
        logText("termination signals cannot be taken: %@", errorText(errno));
        ::pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
        return;
    }
    notifier_ = std::make_unique<QSocketNotifier>(fd_.get(), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated,
        [fd = fd_.get(), handler = std::move(handler)] {
            signalfd_siginfo information{};
            if (::read(fd, &information, sizeof information) == sizeof information)
                handler();
        });
}

}
