#pragma once

#include "ui/controls/button.h"
#include "ui/prompt/input_event.h"
#include "ui/prompt/prompt_context.h"

#include <utility>

namespace vossel {

// The button Allow or Deny on the screen. Main thread only.
class QMButton final : public Button {
public:
    QMButton(const PromptContext& context, ButtonState state)
        : Button(std::move(state))
        , context_(context)
    {
    }

    // Whether the press may go on as on any button. False for one that a program composed: the
    // user has been told, and nothing may come of it.
    [[nodiscard]] bool mouseDown(const MouseEvent& event) const;

private:
    const PromptContext context_;
};

}
