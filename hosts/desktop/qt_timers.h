#pragma once

#include "platform/timers.h"

#include <map>
#include <memory>

class QTimer;

namespace vossel {

// Timers of Qt's event loop. Main thread only.
class QtTimers final : public Timers {
public:
    QtTimers();
    ~QtTimers() override;

    [[nodiscard]] Timer once(Clock::Duration delay, std::function<void()> task) override;
    void cancel(Timer timer) override;

private:
    void fire(Timer timer, const std::function<void()>& task);

    Timer last_ = 0;
    std::map<Timer, std::unique_ptr<QTimer>> pending_;
};

}
