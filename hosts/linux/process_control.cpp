#include "hosts/linux/process_control.h"

#include "foundation/files.h"
#include "foundation/log.h"
#include "platform/threads.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <condition_variable>
#include <exception>
#include <mutex>
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

    std::mutex handlerLock; // held while the handler runs
    std::function<void()> handler; // guarded by handlerLock

    std::mutex endLock;
    std::condition_variable ended;
    bool running = false; // guarded by endLock

    void listen();
    void callHandler();
};

void LinuxProcessControl::Listener::callHandler()
{
    const std::lock_guard guard(handlerLock);
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
    const std::lock_guard guard(endLock);
    running = false;
    ended.notify_all();
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
    std::unique_lock lock(listener_->endLock);
    listener_->ended.wait(lock, [this] { return !listener_->running; });
}

void LinuxProcessControl::onHangUp(std::function<void()> handler)
{
    const std::lock_guard guard(listener_->handlerLock);
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
