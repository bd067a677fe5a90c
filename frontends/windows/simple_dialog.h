#pragma once

#include "frontends/windows/duration_row.h"
#include "frontends/windows/prompt_dialog.h"

namespace vossel {

// The simple prompt on the screen: owns the rows that only it has. Main thread.
class SimpleDialog final : public PromptDialog {
public:
    SimpleDialog(Services services, ShownPrompt& prompt);

protected:
    void display(const PromptView& view) override;

private:
    void layOut();

    TextView scope_;
    TextView parent_;
    DurationRow durations_;
};

}
