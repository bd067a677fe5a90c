#include "driver/server/stop_signals.h"

#include <sys/signalfd.h>

#include <csignal>
#include <pthread.h>

namespace vossel {

StopSignals::StopSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&signals, number);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    fd_.reset(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    // Writing to a reader that has gone is an error to be answered, not the end.
    std::signal(SIGPIPE, SIG_IGN);
}

}
