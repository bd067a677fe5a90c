#pragma once

namespace vossel {

class QMPermissionsWindow;
class QMSimplePermissionsWindow;

// Who shows the prompts to a person: windows, a terminal, the lines that scripts read. Called on
// the main thread. A prompt lives at least from promptOpened to promptClosed, which comes once
// after it, unless the program ends with the prompt open. No act of the user may be carried out
// from within these calls.
class PromptPresenter {
public:
    virtual ~PromptPresenter() = default;

    // Loading has ended.
    virtual void promptOpened(QMPermissionsWindow& prompt) = 0;
    virtual void promptOpened(QMSimplePermissionsWindow& prompt) = 0;
    // Something that a person can see has changed; once for everything that one act changed.
    virtual void promptChanged(QMPermissionsWindow& prompt) = 0;
    virtual void promptChanged(QMSimplePermissionsWindow& prompt) = 0;
    virtual void promptClosed(QMPermissionsWindow& prompt) = 0;
    virtual void promptClosed(QMSimplePermissionsWindow& prompt) = 0;
};

}
