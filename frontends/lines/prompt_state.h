#pragma once

#include "wire_json/record_json.h"

#include <cstdint>

namespace vossel {

class QMPermissionsWindow;
class QMSimplePermissionsWindow;

// Everything that a person would see of a prompt, as scripts see it. `secondsLeft`: whole seconds
// in which it can still be answered. Main thread only.
[[nodiscard]] Json promptState(const QMPermissionsWindow& prompt, std::int64_t secondsLeft);
[[nodiscard]] Json promptState(const QMSimplePermissionsWindow& prompt, std::int64_t secondsLeft);

}
