#include "hosts/linux/process_control.h"

#include "foundation/files.h"
#include "foundation/log.h"
#include "foundation/mutex.h"
#include "platform/threads.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <exception>
#include <utility>

namespace vossel {

namespace {

sigset_t hangUpSet()
{
    sigset_t set;
    ::sigemptyset(&set);
    ::sigaddset(&set, SIGHUP);
    return set;
}

}

// Shared with the thread, which may still be leaving when its owner is gone.
struct LinuxProcessControl::Listener {
    UniqueFd signals;
    UniqueFd wake; // readable: the thread is to end

    Mutex handlerLock; // held while the handler runs
    std::function<void()> handler VOSSEL_GUARDED_BY(handlerLock);

    Mutex endLock;
    Condition ended;
    bool running VOSSEL_GUARDED_BY(endLock) = false;

    void listen();
    void callHandler();
};

void LinuxProcessControl::Listener::callHandler()
{
    const MutexLock guard(handlerLock);
    if (!handler)
        return;
    try {
        handler();
    } catch (const std::exception& exception) {
        logText("hang-up signal: the handler failed: %@", exception.what());
    }
}

void LinuxProcessControl::Listener::listen()
{
    for (;;) {
        std::array<pollfd, 2> waiting = {{{signals.get(), POLLIN, 0}, {wake.get(), POLLIN, 0}}};
        if (::poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR)
            break;
        if (waiting[1].revents != 0)
            break;
        signalfd_siginfo signal = {};
        if (waiting[0].revents != 0 && ::read(signals.get(), &signal, sizeof signal) > 0)
            callHandler();
    }
    const MutexLock guard(endLock);
    running = false;
    ended.notifyAll();
}

void LinuxProcessControl::blockHangUp()
{
    const sigset_t set = hangUpSet();
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

LinuxProcessControl::LinuxProcessControl(ThreadLauncher& threads)
    : listener_(std::make_shared<Listener>())
{
    const sigset_t set = hangUpSet();
    listener_->signals.reset(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
    listener_->wake.reset(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!listener_->signals || !listener_->wake) {
        logText("hang-up signal: not listened to: %@", errorText(errno));
        return;
    }
    listener_->running = true; // no thread yet that could read it
    if (!threads.launch("hang-up", [listener = listener_] { listener->listen(); })) {
        listener_->running = false;
        logText("hang-up signal: not listened to: no thread");
    }
}

LinuxProcessControl::~LinuxProcessControl()
{
    const std::uint64_t once = 1;
    if (listener_->wake && ::write(listener_->wake.get(), &once, sizeof once) < 0)
        logText("hang-up signal: its thread cannot be woken: %@", errorText(errno));
    MutexLock lock(listener_->endLock);
    listener_->ended.wait(
        lock, [this]() VOSSEL_REQUIRES(listener_->endLock) { return !listener_->running; });
}

void LinuxProcessControl::onHangUp(std::function<void()> handler)
{
    const MutexLock guard(listener_->handlerLock);
    std::swap(listener_->handler, handler);
}

void LinuxProcessControl::denyDebuggers()
{
    if (::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) != 0)
        logText("debuggers: not denied: %@", errorText(errno));
    // Where the Yama module is loaded: takes back a leave that a library may have given.
    if (::prctl(PR_SET_PTRACER, 0, 0, 0, 0) != 0 && errno != EINVAL)
        logText("debuggers: the allowed tracer was not taken back: %@", errorText(errno));
}

}
