#include "foundation/log.h"

#include "foundation/mutex.h"

#include <utility>

namespace vossel {

namespace log_detail {
std::atomic<bool> listening = false;
}

namespace {

// Never destroyed: other threads may log while the program exits.
struct Listener {
    Mutex lock;
    LogSink sink VOSSEL_GUARDED_BY(lock);
};

Listener& listener()
{
    static auto& only = *new Listener;
    return only;
}

// Set while this thread is inside the sink: what the sink itself logs is dropped, it would wait
// for its own lock.
thread_local bool insideSink = false;

}

void setLogSink(LogSink sink)
{
    auto& current = listener();
    const bool listens = static_cast<bool>(sink);
    // The old sink's destructor is foreign code: it runs after the lock is given back.
    {
        const MutexLock guard(current.lock);
        std::swap(current.sink, sink);
        log_detail::listening.store(listens, std::memory_order_relaxed);
    }
}

void log_detail::write(std::string_view line)
{
    if (insideSink)
        return;
    auto& current = listener();
    const MutexLock guard(current.lock);
    if (!current.sink)
        return;
    insideSink = true;
    try {
        current.sink(line);
    } catch (...) {
        // A diagnostic line is never worth more than what the program was doing.
    }
    insideSink = false;
}

}
