#include "frontends/terminal/terminal_messages.h"

#include "foundation/log.h"
#include "frontends/terminal/terminal_choice.h"
#include "platform/threads.h"

#include <utility>

namespace vossel {

void TerminalMessages::say(std::string_view text)
{
    logText("%@", text);
    mainThread_.perform([this, text = std::string(text)]() mutable {
        if (!held_)
            show(text);
        else if (waiting_.size() < maxWaiting)
            waiting_.push_back(std::move(text));
    });
}

void TerminalMessages::hold(bool held)
{
    held_ = held;
    if (held_)
        return;
    for (const std::string& text : std::exchange(waiting_, {}))
        show(text);
}

void TerminalMessages::show(const std::string& text)
{
    const auto& own = choice_.own();
    if (!own || !choice_.isOwnInForeground())
        return;
    std::string line;
    for (const Glyph& glyph : toGlyphs(text, own->charset))
        line += glyph.bytes;
    own->device->write(line + "\r\n");
}

}
