#pragma once

#include "app/front_end.h"

#include <memory>

namespace vossel {

// The user is a script: events go to `output`, commands come from `input`; both stay open. It
// offers itself where somebody has connected both on purpose, by pipes, sockets or files. Without
// anybody who reads the events there is nobody to ask.
[[nodiscard]] std::unique_ptr<FrontEnd> lineFrontEnd(int input, int output);

}
