#pragma once

#include "frontends/windows/choice_box.h"
#include "frontends/windows/prompt_dialog.h"
#include "ui/prompt/qm_permissions_window.h"

#include <QCheckBox>

#include <array>
#include <cstdint>
#include <memory>

namespace vossel {

class TipPanel;

// The advanced prompt on the screen. Main thread.
class AdvancedDialog final : public PromptDialog {
public:
    AdvancedDialog(Services services, QMPermissionsWindow& prompt);
    ~AdvancedDialog() override;

    void sync() override;
    void mouseMovedTo(QPointF position) override;

protected:
    void placed() override;

private:
    void layOut();
    void connectControls();
    void syncDuration();
    void syncTip();

    QMPermissionsWindow& prompt_;
    const std::int64_t recommendedProcess_;
    TextView file_;
    TextView parent_;
    ChoiceBox paths_;
    ChoiceBox processes_;
    PressButton operations_;
    QCheckBox updates_;
    std::array<std::unique_ptr<PressButton>, DURATION_FOREVER + 1> durations_;
    std::unique_ptr<TipPanel> tip_;
};

}
