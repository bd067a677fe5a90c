#pragma once

#include "app/front_end.h"

#include <memory>

namespace vossel {

// The user sits at a desktop. Builds without windows have this too, and say that there are none.
[[nodiscard]] std::unique_ptr<FrontEnd> windowFrontEnd();

}
