#include "driver/server/session_key.h"

#include <sys/random.h>

namespace vossel {

std::optional<SessionKey> SessionKey::generate()
{
    SessionKey key;
    // Requests of up to 256 bytes are never cut short.
    if (::getrandom(key.bytes_, sizeof key.bytes_, 0) != static_cast<ssize_t>(sizeof key.bytes_))
        return std::nullopt;
    return key;
}

bool SessionKey::matches(std::span<const std::uint8_t> candidate) const
{
    if (candidate.size() != sizeof bytes_)
        return false;
    // Volatile, so that no compiler finds a reason to stop at the first difference.
    volatile std::uint8_t difference = 0;
    for (std::size_t i = 0; i < sizeof bytes_; ++i)
        difference = static_cast<std::uint8_t>(difference | (bytes_[i] ^ candidate[i]));
    return difference == 0;
}

}
