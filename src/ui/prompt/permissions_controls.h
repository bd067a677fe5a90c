#pragma once

#include "ui/controls/button.h"
#include "ui/controls/check_box.h"
#include "ui/controls/pop_up_button.h"
#include "ui/controls/segmented_control.h"
#include "ui/controls/text_field.h"
#include "wire/driver_messages.h"

namespace vossel {

// The controls of the advanced prompt as its layout has them before loading. Frames are those that
// the prompt computes with; whoever lays the window out otherwise says so to the prompt.
struct PermissionsControls {
    static constexpr Rect windowFrame{0, 0, 560, 360};

    // Once, until the program quits, until restart, forever.
    SegmentedControl durationSegmentedControl{SegmentedControlState{
        .segmentCount = DURATION_FOREVER + 1, .selectedSegment = DURATION_UNTIL_QUIT}};
    PopUpButton pathPopUpControl;
    TextField filenameTextField{TextFieldState{.frame = {130, 192, 410, 17}}};
    TextField applicationPathTextField{TextFieldState{.frame = {130, 242, 410, 17}}};
    TextField applicationParentPathTextField{TextFieldState{.frame = {130, 217, 410, 17}}};
    TextField codeSignTextField{TextFieldState{.frame = {130, 167, 410, 17}}};
    TextField activityDescriptionTextField{TextFieldState{.frame = {130, 320, 410, 20}}};
    // Item 0 stands for the title, which is set to that of the chosen item.
    PopUpButton applicationNamePopUp{
        PopUpButtonState{.pullsDown = true, .frame = {130, 276, 410, 26}}};
    CheckBox allowUpdatesCheckBox;
    Button operationsButton;
};

}
