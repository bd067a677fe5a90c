#pragma once

#include "app/front_end.h"

#include <memory>

namespace vossel {

// The room's door: owns the application of the window system while an agent runs in it, and hands
// out nothing of Qt. It must not own anything of the agent, whose prompts it only shows. Builds
// without windows have this header too, and say that there are none.
[[nodiscard]] std::unique_ptr<FrontEnd> windowFrontEnd();

}
