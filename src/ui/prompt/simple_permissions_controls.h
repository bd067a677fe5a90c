#pragma once

#include "ui/controls/button.h"
#include "ui/controls/text_field.h"
#include "ui/prompt/prompt_words.h"
#include "wire/driver_messages.h"

namespace vossel {

// The controls of the simple prompt as its layout has them before loading. A duration's tag is one
// less than its code.
struct SimplePermissionsControls {
    static constexpr Rect windowFrame{0, 0, 480, 260};

    TextField informationTextField;
    TextField activityDescriptionTextField;
    TextField applicationNameTextField{
        TextFieldState{.fontSize = 24, .frame = {110, 205, 350, 30}}};
    Button untilQuitButtonCell{title(DURATION_UNTIL_QUIT, 0)};
    Button untilRestartButtonCell{title(DURATION_UNTIL_RESTART, 1)};
    Button foreverButtonCell{ButtonState{.tag = 2}};
    Button foreverTextLabel{title(DURATION_FOREVER, 0)}; // hidden with its button

private:
    static ButtonState title(std::int32_t duration, std::int32_t tag)
    {
        return {.title = std::string(durationTitle(duration)), .tag = tag};
    }
};

}
