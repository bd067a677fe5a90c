#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vossel {

// Hashes text with a secret of the process's own, so that nobody can prepare a file whose texts
// all fall on one place. The same text has the same hash while the process lives, and no longer.
[[nodiscard]] std::uint64_t textHash(std::string_view text);

// Mixes numbers into a hash; every bit of both reaches every bit of the result.
[[nodiscard]] std::uint64_t mixedHash(std::uint64_t hash, std::uint64_t number);

// For unordered containers of std::string in which one looks by view.
struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return textHash(text); }
};

}
