#include "hosts/desktop/qt_timers.h"

#include <QTimer>

#include <algorithm>
#include <limits>
#include <utility>

namespace vossel {

QtTimers::QtTimers() = default;
QtTimers::~QtTimers() = default;

Timers::Timer QtTimers::once(Clock::Duration delay, std::function<void()> task)
{
    constexpr Clock::Duration::rep longest = std::numeric_limits<int>::max();
    const Timer timer = ++last_;
    auto qt = std::make_unique<QTimer>();
    qt->setSingleShot(true);
    qt->setTimerType(Qt::PreciseTimer);
    QObject::connect(
        qt.get(), &QTimer::timeout, [this, timer, task = std::move(task)] { fire(timer, task); });
    qt->start(static_cast<int>(std::clamp<Clock::Duration::rep>(delay.count(), 0, longest)));
    pending_.emplace(timer, std::move(qt));
    return timer;
}

void QtTimers::cancel(Timer timer)
{
    pending_.erase(timer);
}

void QtTimers::fire(Timer timer, const std::function<void()>& task)
{
    // The task is part of the connection that this timer carries: both must outlive the call, in
    // which the task may cancel any timer or run a loop of its own.
    const auto found = pending_.find(timer);
    if (found == pending_.end())
        return;
    auto qt = std::move(found->second);
    pending_.erase(found);
    const auto run = task;
    run();
    qt.release()->deleteLater();
}

}
