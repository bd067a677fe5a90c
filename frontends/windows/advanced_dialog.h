#pragma once

#include "frontends/windows/choice_box.h"
#include "frontends/windows/duration_row.h"
#include "frontends/windows/prompt_dialog.h"

#include <QCheckBox>

#include <memory>

namespace vossel {

class TipPanel;

// The advanced prompt on the screen: owns the rows that only it has. It keeps no state of the
// prompt but what the widgets show. Main thread.
class AdvancedDialog final : public PromptDialog {
public:
    AdvancedDialog(Services services, ShownPrompt& prompt);
    ~AdvancedDialog() override;

    void mouseMovedTo(QPointF position) override;

protected:
    void display(const PromptView& view) override;
    void placed() override;

private:
    void layOut();
    void connectControls();
    void displayTip(const std::optional<TipWindow>& tip);

    TextView file_;
    TextView parent_;
    ChoiceBox paths_;
    ChoiceBox processes_;
    PressButton operations_;
    QCheckBox updates_;
    DurationRow durations_;
    std::unique_ptr<TipPanel> tip_;
};

}
