#pragma once

#include "ui/prompt/prompt_presenter.h"
#include "ui/prompt/qm_permissions_window.h"
#include "ui/prompt/qm_simple_permissions_window.h"

namespace vossel {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"

// A presenter that still knows the two view models apart. It goes as soon as no front end derives
// from it any more.
class PresenterByKind : public PromptPresenter {
public:
    virtual void promptOpened(QMPermissionsWindow& prompt) = 0;
    virtual void promptOpened(QMSimplePermissionsWindow& prompt) = 0;
    virtual void promptChanged(QMPermissionsWindow& prompt) = 0;
    virtual void promptChanged(QMSimplePermissionsWindow& prompt) = 0;
    virtual void promptClosed(QMPermissionsWindow& prompt) = 0;
    virtual void promptClosed(QMSimplePermissionsWindow& prompt) = 0;

    void promptOpened(ShownPrompt& prompt) final
    {
        byKind(prompt, [this](auto& shown) { promptOpened(shown); });
    }
    void promptChanged(ShownPrompt& prompt) final
    {
        byKind(prompt, [this](auto& shown) { promptChanged(shown); });
    }
    void promptClosed(ShownPrompt& prompt) final
    {
        byKind(prompt, [this](auto& shown) { promptClosed(shown); });
    }

private:
    template <class Call>
    static void byKind(ShownPrompt& prompt, const Call& call)
    {
        if (auto* advanced = dynamic_cast<QMPermissionsWindow*>(&prompt))
            call(*advanced);
        else if (auto* simple = dynamic_cast<QMSimplePermissionsWindow*>(&prompt))
            call(*simple);
    }
};

#pragma GCC diagnostic pop

}
