#include "ui/prompt/qm_button.h"

#include "ui/prompt/synthetic_input.h"

namespace vossel {

bool QMButton::mouseDown(const MouseEvent& event) const
{
    return !refusesSyntheticInput(context_, event.source, "mouse clicks");
}

}
