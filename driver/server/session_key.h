#pragma once

#include "wire/driver_messages.h"

#include <cstdint>
#include <optional>
#include <span>

namespace vossel {

// The secret by which an agent proves that it opened the session. A value.
class SessionKey {
public:
    // From the kernel's random source; nothing where that is refused.
    [[nodiscard]] static std::optional<SessionKey> generate();

    // Takes a time that does not depend on the bytes. False for any other size.
    [[nodiscard]] bool matches(std::span<const std::uint8_t> candidate) const;
    [[nodiscard]] std::span<const std::uint8_t, sessionKeySize> bytes() const { return bytes_; }

private:
    std::uint8_t bytes_[sessionKeySize] = {};
};

}
