#include "foundation/property_list.h"
#include "require.h"

#include <cstdint>

// Whatever parses is written in the format that it came in, and what was written reads back as the
// same value. The bytes of two binaries may differ: which equal values the library shares depends
// on where they lie in memory.

using namespace vossel;
using test::require;

namespace {

std::string xmlOf(const PropertyList& list)
{
    const auto written = writePropertyList(list, PropertyListFormat::Xml);
    return written ? *written : written.reason();
}

void roundTrip(const PropertyList& list, PropertyListFormat format, bool mustWrite)
{
    const auto written = writePropertyList(list, format);
    if (!written) {
        require(!mustWrite, written.reason().c_str());
        return;
    }
    const auto again = parsePropertyList(*written);
    require(static_cast<bool>(again), "what was written does not read back");
    // A NaN is not equal to itself, but is written like every other.
    const bool same = list == list ? *again == list : xmlOf(*again) == xmlOf(list);
    require(same, "another value was read back");
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto list = parsePropertyList(bytes);
    if (!list)
        return 0;
    const bool binary = bytes.starts_with("bplist");
    // XML has no control characters, so that a list from a binary file may be refused there.
    roundTrip(*list, PropertyListFormat::Xml, !binary);
    roundTrip(*list, PropertyListFormat::Binary, true);
    return 0;
}
