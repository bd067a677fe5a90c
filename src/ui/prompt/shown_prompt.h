#pragma once

#include "ui/controls/geometry.h"
#include "ui/controls/touch_bar.h"
#include "ui/prompt/input_event.h"
#include "ui/prompt/prompt_act.h"
#include "ui/prompt/prompt_countdown.h"
#include "ui/prompt/prompt_view.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace vossel {

class PromptFrame;
class QueryWait;

// A prompt as whoever shows it knows it: what it shows, how long it stands, and every way to act on
// it, alike for both kinds. It owns nothing of the screen and decides nothing; the view models
// implement it. Main thread only. An act may be the last thing that a prompt sees: afterwards it,
// and its keyboard, may be gone.
class ShownPrompt {
public:
    // Texts that may be cut on the screen; their place decides which one a tooltip shows whole.
    enum class Field : std::uint8_t { File, Application, Parent, Signer };

    virtual ~ShownPrompt() = default;

    [[nodiscard]] virtual PromptView view() const = 0;
    [[nodiscard]] virtual Refusal carryOut(const PromptAct& act) = 0;

    // The wait that this prompt answers; the same object for both prompts of one query.
    [[nodiscard]] const std::shared_ptr<QueryWait>& wait() const;
    // Whether the query has its answer, so that nothing done to the prompt counts any more.
    [[nodiscard]] bool isOver() const;
    [[nodiscard]] PromptCountdown countdown() const;

    // The keyboard: a key that is no command sounds, one that a program composed is told to the
    // user, and neither does anything.
    void keyDown(const KeyEvent& event);
    void flagsChanged(const ModifierEvent& event);
    // Whether a key or a press of the mouse of this source is dropped; the user has been told then.
    [[nodiscard]] bool refusesKey(const EventSource& source) const;
    [[nodiscard]] bool refusesMouse(const EventSource& source) const;

    // Made when first asked for; its actions are safe to call after the prompt has gone.
    virtual const TouchBar& touchBar() = 0;
    [[nodiscard]] virtual TouchBarItem makeItemForIdentifier(std::string_view identifier) const = 0;

    // A prompt with tooltips is told where things are, in points; the simple prompt has none and
    // ignores it.
    virtual void mouseMoved(Point /*inWindow*/) { }
    virtual void moveWindow(const Rect& /*onScreen*/) { }
    virtual void moveField(Field /*field*/, const Rect& /*inWindow*/) { }

protected:
    [[nodiscard]] virtual const PromptFrame& promptFrame() const = 0;
};

}
