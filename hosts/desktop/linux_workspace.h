#pragma once

#include "platform/window_system.h"

namespace vossel {

// Starts other programs: executable files, with no arguments and a clean set of signals, in a
// session of their own that outlives this program. Any thread.
class LinuxWorkspace final : public Workspace {
public:
    void launchApplication(const std::string& path) override;
};

}
