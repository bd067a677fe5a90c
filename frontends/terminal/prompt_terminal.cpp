#include "frontends/terminal/prompt_terminal.h"

#include <algorithm>
#include <string.h>
#include <utility>

namespace vossel {

namespace {

// Between the two changes of size that have a program draw its screen again: long enough that it
// sees both.
constexpr std::chrono::milliseconds redrawPause{60};

// The pauses between attempts to write what a terminal has not taken.
constexpr Clock::Duration firstPause = std::chrono::milliseconds(2);
constexpr Clock::Duration maxPause = std::chrono::seconds(1);

ScreenPainter::Place paintingPlace(const TerminalChoice::Place& place, bool over)
{
    const TerminalCapabilities& terminal = *place.capabilities;
    if (over)
        return ScreenPainter::Place::Over;
    // Whatever others write on a screen of the prompt's own would be lost with that screen.
    const bool atBottom = terminal.canScrollPart() && (place.shared || !terminal.hasOwnScreen());
    return atBottom ? ScreenPainter::Place::Bottom : ScreenPainter::Place::OwnScreen;
}

}

PromptTerminal::PromptTerminal(
    const Services& services, const TerminalChoice::Place& place, Handlers handlers)
    : services_(services)
    , device_(place.device)
    , terminal_(place.capabilities)
    , charset_(place.charset)
    , handlers_(std::move(handlers))
    , over_(device_->isTakenOver())
    , taken_(device_->takeOver())
    , painter_(*device_, *terminal_, paintingPlace(place, over_))
{
    if (!taken_)
        return;
    painter_.begin();
    size_ = device_->size();
    watch_ = services_.watch(device_->descriptor(), [this] { readable(); });
}

PromptTerminal::~PromptTerminal()
{
    services_.timers.cancel(escapeTimer_);
    services_.timers.cancel(writeTimer_);
    watch_.reset();
    if (!taken_)
        return;
    painter_.end();
    device_->giveBack();
    if (!over_)
        return;
    device_->beginResize();
    (void)services_.timers.once(redrawPause, [device = device_] { device->endResize(); });
}

bool PromptTerminal::followSize()
{
    const TerminalSize size = device_->size();
    if (size == size_)
        return false;
    size_ = size;
    painter_.resized();
    return true;
}

void PromptTerminal::paint(const Screen& screen)
{
    latest_ = screen;
    if (writeTimer_ == 0)
        repaint(firstPause);
}

// A terminal takes nothing while another program is writing to it, which is over soon, and while
// nobody reads it, which may last.
void PromptTerminal::repaint(Clock::Duration pause)
{
    if (painter_.paint(latest_)) {
        if (!arming_.hasAppeared())
            arming_.appeared(now());
        return;
    }
    writeTimer_ = services_.timers.once(pause, [this, pause] {
        writeTimer_ = 0;
        repaint(std::min(2 * pause, maxPause));
    });
}

PromptArming::Time PromptTerminal::now() const
{
    return PromptArming::timeOf(services_.clock.now());
}

void PromptTerminal::readable()
{
    std::string bytes;
    if (!device_->read(bytes)) {
        watch_.reset(); // it would be readable for ever
        const auto vanished = handlers_.vanished;
        vanished();
        return;
    }
    std::vector<TerminalKey> keys;
    parser_.feed(bytes, keys);
    ::explicit_bzero(bytes.data(), bytes.size()); // it may be a password
    services_.timers.cancel(std::exchange(escapeTimer_, 0));
    if (parser_.isPending())
        waitForRest();
    takeKeys(std::move(keys));
}

void PromptTerminal::waitForRest()
{
    if (!arming_.isArmed(now()))
        dropNext_ = true;
    escapeTimer_ = services_.timers.once(KeyParser::escapePause, [this] {
        escapeTimer_ = 0;
        std::vector<TerminalKey> keys;
        parser_.flush(keys);
        takeKeys(std::move(keys));
    });
}

void PromptTerminal::takeKeys(std::vector<TerminalKey> keys)
{
    if (keys.empty())
        return;
    if (!arming_.takesPress(now())) {
        dropNext_ = parser_.isPending();
        bell();
        return;
    }
    if (std::exchange(dropNext_, false)) {
        keys.erase(keys.begin());
        bell();
    }
    if (keys.empty())
        return;
    const auto handler = handlers_.keys; // outlives this
    handler(keys);
    ::explicit_bzero(keys.data(), keys.size() * sizeof(TerminalKey)); // maybe a password
}

}
