#include "ui/prompt/shown_prompt.h"

#include "prompting/query_wait.h"
#include "ui/prompt/prompt_frame.h"

namespace vossel {

const std::shared_ptr<QueryWait>& ShownPrompt::wait() const
{
    return promptFrame().wait();
}

bool ShownPrompt::isOver() const
{
    return !wait() || wait()->isOver();
}

PromptCountdown ShownPrompt::countdown() const
{
    return promptFrame().countdown();
}

void ShownPrompt::keyDown(const KeyEvent& event)
{
    promptFrame().window.keyDown(event);
}

void ShownPrompt::flagsChanged(const ModifierEvent& event)
{
    promptFrame().window.flagsChanged(event);
}

bool ShownPrompt::refusesKey(const EventSource& source) const
{
    return promptFrame().window.refuses(source);
}

bool ShownPrompt::refusesMouse(const EventSource& source) const
{
    return !promptFrame().allowButton.mouseDown({source});
}

}
