#pragma once

#include "frontends/terminal/terminal_keys.h"

#include <optional>
#include <string_view>

namespace vossel {

// What a terminal means by a control sequence that reports a key.

// The key that the last letter of a cursor key's sequence stands for; Other for any other letter.
[[nodiscard]] TerminalKey::Kind arrowOf(char letter);

// What stands between "ESC [" and the last character, and that. It understands 1;held LETTER of the
// cursor keys, code;held u and 27;held;code ~, where `held` is 1 and 1 for Shift, 2 for Alt, 4 for
// Control. Other for everything else, empty for a key that was let go.
[[nodiscard]] std::optional<TerminalKey> keyOfReport(std::string_view parameters, char last);

}
