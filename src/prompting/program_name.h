#pragma once

#include "foundation/path_text.h"

#include <string_view>

namespace vossel {

// What a program is called: the last component of its executable's path. The view lives as long as
// the path; the driver leaves the path empty when it could not read it.
[[nodiscard]] inline std::string_view programName(std::string_view executable)
{
    return executable.empty() ? "unknown program" : lastPathComponent(executable);
}

}
