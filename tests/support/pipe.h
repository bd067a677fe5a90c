#pragma once

#include "foundation/files.h"

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>

namespace vossel::test {

struct Pipe {
    UniqueFd read;
    UniqueFd write;

    Pipe()
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        read.reset(ends[0]);
        write.reset(ends[1]);
    }
};

}
