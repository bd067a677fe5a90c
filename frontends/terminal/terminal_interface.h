#pragma once

#include "app/front_end.h"

#include <memory>

namespace vossel {

struct TerminalOptions {
    bool ownTerminalOnly = false; // never on the terminals of programs
    bool logToStandardError = false;
};

// The user sits at a terminal. It may vanish: the agent then goes on with those of the programs
// that it asks about.
[[nodiscard]] std::unique_ptr<FrontEnd> terminalFrontEnd(const TerminalOptions& options);

}
