#pragma once

#include "ui/controls/button.h"
#include "ui/controls/text_field.h"

namespace vossel {

// The controls of the simple prompt as its layout has them before loading. A duration's tag is one
// less than its code.
struct SimplePermissionsControls {
    static constexpr Rect windowFrame{0, 0, 480, 260};

    TextField informationTextField;
    TextField activityDescriptionTextField;
    TextField applicationNameTextField{
        TextFieldState{.fontSize = 24, .frame = {110, 205, 350, 30}}};
    Button untilQuitButtonCell{ButtonState{.title = "Until the program quits", .tag = 0}};
    Button untilRestartButtonCell{ButtonState{.title = "Until restart", .tag = 1}};
    Button foreverButtonCell{ButtonState{.tag = 2}};
    Button foreverTextLabel{ButtonState{.title = "Forever"}}; // hidden with its button
};

}
