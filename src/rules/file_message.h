#pragma once

#include "foundation/files.h"
#include "foundation/text_format.h"

#include <string>
#include <string_view>

namespace vossel {

// A store's message on a file: path, the system's text for the error, the error number.
[[nodiscard]] inline std::string fileMessage(
    std::string_view format, std::string_view path, int error)
{
    return formatText(format, {path, errorText(error), std::to_string(error)});
}

}
