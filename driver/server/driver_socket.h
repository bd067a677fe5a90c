#pragma once

#include "foundation/files.h"

namespace vossel {

// A listening packet socket at `path` that any user may connect to, its folder created where it is
// missing. A socket file that nobody answers on is replaced; one that somebody answers on, or
// anything else that lies there, is left alone and named in the failure.
Result<UniqueFd> listenAt(const std::string& path);

}
