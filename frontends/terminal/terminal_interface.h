#pragma once

#include "app/user_interface.h"
#include "frontends/terminal/terminal_choice.h"

namespace vossel {

// The user sits at a terminal. It may vanish: the agent then goes on with those of the programs
// that it asks about.
[[nodiscard]] UserInterface::Factory terminalInterface(TerminalChoice terminals);

}
