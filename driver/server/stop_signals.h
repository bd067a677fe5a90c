#pragma once

#include "foundation/files.h"

namespace vossel {

// The signals that end a program, as a descriptor that a loop waits on. Made before any other
// thread exists: they all inherit the block.
class StopSignals {
public:
    StopSignals();

    // Readable once one has come; -1 when the system refused.
    [[nodiscard]] int descriptor() const { return fd_.get(); }

private:
    UniqueFd fd_;
};

}
