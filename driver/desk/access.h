#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace vossel {

// A program as decisions know it. A path alone proves nothing: in a mount namespace of its own a
// process can run its own file under any name.
struct Program {
    std::string path; // empty: not readable (a kernel thread)
    bool native = false; // whether `path`, as the driver sees it, leads to this very file
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t changed = 0; // ctime, nanoseconds
    std::string signature; // identifier and team while the signature is valid, else empty

    bool operator==(const Program&) const = default;
};

// One blocked access, as far as decisions look at it.
struct Access {
    std::int32_t operations = 0; // what the call asks for, a set of Operation
    std::string path;
    std::string fileId; // only while the file has several names: any of them may be in `path`
    Program program;
    Program parent;
    std::vector<Program> ancestors; // above the parent; filled when some decision looks at them
    uid_t realUser = static_cast<uid_t>(-1); // of the process
};

// Whether both are the same program; `sameVersion` asks for the very same file, unchanged.
[[nodiscard]] bool isSameProgram(const Program& a, const Program& b, bool sameVersion);

}
