#include "require.h"
#include "rules/reading_check.h"

// Any bytes as rules files: the first byte says what the file is, and what stands before a first
// record separator is in the user's file, which is read before.

using namespace vossel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    static const test::ReadingCheck check;
    std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    std::string_view userFile;
    if (const auto separator = bytes.find('\x1E'); separator != std::string_view::npos) {
        userFile = bytes.substr(0, separator);
        bytes.remove_prefix(separator + 1);
    }
    const auto kind = static_cast<test::ReadingCheck::Kind>(data[0] % 4);
    const auto complaint = check.complaint(userFile, bytes, kind);
    test::require(complaint.empty(), complaint.c_str());
    return 0;
}
