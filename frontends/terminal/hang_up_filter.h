#pragma once

#include "platform/clock.h"
#include "platform/process_control.h"

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

namespace vossel {

// A hang-up signal asks for the rules to be reloaded, but a terminal that vanishes sends one too,
// and the shell on it another. Those that come when it has just vanished mean nothing.
class HangUpFilter final : public ProcessControl {
public:
    // How long signals are passed over after the first of them.
    static constexpr std::chrono::seconds spell{2};

    // `vanished`: whether the agent's terminal has gone; called on the signal's thread.
    HangUpFilter(ProcessControl& control, Clock& clock, std::function<bool()> vanished)
        : control_(control)
        , clock_(clock)
        , vanished_(std::move(vanished))
    {
    }

    void onHangUp(std::function<void()> handler) override
    {
        if (!handler) {
            control_.onHangUp({});
            return;
        }
        control_.onHangUp([this, handler = std::move(handler)] {
            if (!isOfTheTerminal())
                handler();
        });
    }
    void denyDebuggers() override { control_.denyDebuggers(); }

private:
    // Calls never overlap, for one thread takes the signals.
    bool isOfTheTerminal()
    {
        if (!vanished_())
            return false;
        if (end_ == Clock::Instant())
            end_ = clock_.now() + spell;
        return clock_.now() < end_;
    }

    ProcessControl& control_;
    Clock& clock_;
    const std::function<bool()> vanished_;
    Clock::Instant end_{}; // of the spell; zero before it
};

}
