#pragma once

#include "frontends/lines/line_command.h"

#include <optional>
#include <string>

namespace vossel {

class QMPermissionsWindow;
class QMSimplePermissionsWindow;

// Does with a prompt what a command says, as a click on the control would. Returns why it cannot be
// done, and has changed nothing then. The prompt may be gone afterwards. State and Wait do nothing.
// Main thread only.
[[nodiscard]] std::optional<std::string> carryOut(
    const LineCommand& command, QMPermissionsWindow& prompt);
[[nodiscard]] std::optional<std::string> carryOut(
    const LineCommand& command, QMSimplePermissionsWindow& prompt);

}
