#pragma once

#include <cstdio>
#include <cstdlib>

namespace vossel::test {

// What a fuzz target claims: ends the program, so that the fuzzer keeps the input, where it does
// not hold.
inline void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

}
