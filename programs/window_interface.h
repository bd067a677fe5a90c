#pragma once

#include "programs/user_interface.h"

namespace vossel {

// The user sits at a desktop. Needs a QApplication, which stays open without windows.
[[nodiscard]] UserInterface::Factory windowInterface();

}
