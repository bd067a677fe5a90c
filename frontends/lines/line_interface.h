#pragma once

#include "app/user_interface.h"

namespace vossel {

// The user is a script: events go to `output`, commands come from `input`; both stay open. Without
// anybody who reads the events there is nobody to ask.
[[nodiscard]] UserInterface::Factory lineInterface(int input, int output);

}
