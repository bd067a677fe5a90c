#pragma once

#include "frontends/windows/prompt_dialog.h"
#include "ui/prompt/qm_simple_permissions_window.h"

#include <array>
#include <memory>

namespace vossel {

// The simple prompt on the screen. Main thread.
class SimpleDialog final : public PromptDialog {
public:
    SimpleDialog(Services services, QMSimplePermissionsWindow& prompt);

    void sync() override;

private:
    struct Choice {
        const Button* state = nullptr;
        void (QMSimplePermissionsWindow::*choose)() = nullptr;
        std::unique_ptr<PressButton> button{};
    };

    void layOut();

    QMSimplePermissionsWindow& prompt_;
    TextView scope_;
    TextView parent_;
    std::array<Choice, 3> choices_;
};

}
