#include "hosts/desktop/signal_calls.h"

#include "foundation/log.h"

#include <errno.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <pthread.h>
#include <utility>

namespace vossel {

namespace {

sigset_t setOf(std::initializer_list<int> signals)
{
    sigset_t set;
    ::sigemptyset(&set);
    for (const int signal : signals)
        ::sigaddset(&set, signal);
    return set;
}

}

void SignalCalls::block()
{
    const sigset_t set = setOf({SIGTERM, SIGINT, SIGWINCH});
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
}

SignalCalls::SignalCalls(std::initializer_list<int> signals, std::function<void()> handler)
{
    const sigset_t set = setOf(signals);
    fd_.reset(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!fd_) {
        logText("signals cannot be taken: %@", errorText(errno));
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
