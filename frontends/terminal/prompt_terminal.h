#pragma once

#include "frontends/terminal/screen_painter.h"
#include "frontends/terminal/terminal_choice.h"
#include "frontends/terminal/terminal_keys.h"
#include "platform/clock.h"
#include "platform/descriptor_watch.h"
#include "platform/timers.h"
#include "ui/prompt/prompt_arming.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vossel {

// One terminal while a prompt stands on it: it owns the terminal's mode, draws there, takes its
// keys and gives it back at the end. Main thread only.
class PromptTerminal {
public:
    struct Services {
        Clock& clock;
        Timers& timers;
        const WatchDescriptor& watch;
    };
    // Called from the main loop; both may destroy this.
    struct Handlers {
        std::function<void(const std::vector<TerminalKey>&)> keys; // that came together
        std::function<void()> vanished;
    };

    PromptTerminal(const Services& services, const TerminalChoice::Place& place, Handlers handlers);
    ~PromptTerminal();
    PromptTerminal(const PromptTerminal&) = delete;
    PromptTerminal& operator=(const PromptTerminal&) = delete;

    [[nodiscard]] TerminalSize area() const { return painter_.area(); }
    [[nodiscard]] Charset charset() const { return charset_; }
    [[nodiscard]] bool vanished() const { return device_->vanished(); }
    // False when the terminal's mode could not be changed: nothing was drawn, and no keys will
    // come.
    [[nodiscard]] bool isTaken() const { return taken_; }
    // Asks the terminal for its size; true when it has changed.
    bool followSize();
    // Keys count from the arming time on, which begins when the first screen is there, whole; those
    // that began before do not.
    void paint(const Screen& screen);
    void bell() { device_->write("\a"); }

private:
    void readable();
    void takeKeys(std::vector<TerminalKey> keys);
    void waitForRest();
    void repaint(Clock::Duration pause);
    [[nodiscard]] PromptArming::Time now() const;

    const Services services_;
    const std::shared_ptr<TerminalDevice> device_;
    const std::shared_ptr<const TerminalCapabilities> terminal_;
    const Charset charset_;
    const Handlers handlers_;
    const bool over_; // a program that draws the whole screen stands behind the prompt
    const bool taken_;
    ScreenPainter painter_;
    TerminalSize size_;
    std::shared_ptr<void> watch_;
    KeyParser parser_;
    Timers::Timer escapeTimer_ = 0;
    Timers::Timer writeTimer_ = 0;
    Screen latest_;
    PromptArming arming_{PromptArming::EarlyPress::StartsAnew};
    bool dropNext_ = false; // a key that began too early has not ended yet
};

}
