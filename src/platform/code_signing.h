#pragma once

#include "foundation/property_list.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vossel {

// Results of a signature check, by the numbers that the product's records know.
enum SignatureResult : std::int32_t {
    signatureValid = 0,
    signatureUnsigned = -67062,
    signatureFailed = -67061,
    signatureNotVerifiable = -67060,
    signatureUnsupported = -67059,
    signatureInvalid = -67045,
};

// Who made an executable, and whether it is still as they made it. Callable from any thread; reads
// the file at each call.
class CodeSigning {
public:
    virtual ~CodeSigning() = default;

    // Whether the path can be looked at as code at all.
    [[nodiscard]] virtual bool isCode(const std::string& path) const = 0;
    // One of SignatureResult, or any other number for an error of the system's own.
    [[nodiscard]] virtual std::int32_t checkValidity(
        const std::string& path, std::uint32_t flags) const = 0;
    // A dictionary with "identifier" and "teamid" (texts) and "platform-identifier" (a number),
    // each only where known; empty when the file tells nothing.
    [[nodiscard]] virtual std::optional<PropertyList> signingInformation(
        const std::string& path) const = 0;
};

}
