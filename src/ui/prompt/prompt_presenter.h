#pragma once

namespace vossel {

class ShownPrompt;

// Who shows the prompts to a person: windows, a terminal, the lines that scripts read. Called on
// the main thread. A prompt lives at least from promptOpened to promptClosed, which comes once
// after it, unless the program ends with the prompt open. From the simple prompt to the advanced
// one is a close and an open. No act of the user may be carried out from within these calls.
class PromptPresenter {
public:
    virtual ~PromptPresenter() = default;

    // The prompt is loaded and wants to be seen.
    virtual void promptOpened(ShownPrompt& prompt) = 0;
    // Something that a person can see has changed; once for everything that one act changed.
    virtual void promptChanged(ShownPrompt& prompt) = 0;
    virtual void promptClosed(ShownPrompt& prompt) = 0;
};

}
