#include "foundation/files.h"
#include "programs/vosselctl/command.h"

#include <cerrno>
#include <cstdio>

namespace vossel {

namespace {

constexpr std::size_t maxInput = std::size_t{64} * 1024;

}

Result<std::string> readInput(const std::string& file)
{
    return file == "-" ? readDescriptor(0, maxInput, "standard input") : readFile(file, maxInput);
}

Failure wrongSize(const std::string& file, std::size_t size, std::string_view expected)
{
    return {(file == "-" ? "standard input" : file) + " holds " + std::to_string(size) + " bytes; "
        + std::string(expected)};
}

Result<bool> writeOutput(std::string_view bytes)
{
    errno = 0;
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size()
        && std::fflush(stdout) == 0;
    if (!written)
        return Failure{"standard output could not be written: " + errorText(errno)};
    return true;
}

Result<bool> writeJson(const Json& document, bool pretty)
{
    return writeOutput(document.dump(pretty ? 2 : -1) + '\n');
}

}
