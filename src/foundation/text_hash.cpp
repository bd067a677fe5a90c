#include "foundation/text_hash.h"

#include <cstring>
#include <random>

namespace vossel {

namespace {

struct Secret {
    std::uint64_t first;
    std::uint64_t second;
    std::uint64_t third;
};

std::uint64_t oddRandom(std::random_device& source)
{
    const std::uint64_t high = source();
    return high << 32 | source() | 1U;
}

const Secret& secret()
{
    static const Secret only = [] {
        std::random_device source;
        return Secret{oddRandom(source), oddRandom(source), oddRandom(source)};
    }();
    return only;
}

// Both halves of the 128-bit product, folded into one.
std::uint64_t foldedProduct(std::uint64_t a, std::uint64_t b)
{
    __extension__ using Wide = unsigned __int128;
    const auto product = static_cast<Wide>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64U);
}

std::uint64_t wordAt(const char* bytes)
{
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

}

std::uint64_t textHash(std::string_view text)
{
    const auto& [first, second, third] = secret();
    std::uint64_t hash = first ^ text.size();
    const char* at = text.data();
    auto left = text.size();
    for (; left > 16; at += 16, left -= 16)
        hash = foldedProduct(wordAt(at) ^ second, wordAt(at + 8) ^ hash);
    std::uint64_t low = 0;
    std::uint64_t high = 0;
    if (left >= 8) {
        low = wordAt(at);
        high = wordAt(at + left - 8);
    } else if (left > 0) {
        std::memcpy(&low, at, left);
    }
    return foldedProduct(foldedProduct(low ^ second, high ^ hash) ^ third, first);
}

std::uint64_t mixedHash(std::uint64_t hash, std::uint64_t number)
{
    const auto& [first, second, third] = secret();
    return foldedProduct(hash ^ second, number ^ third) + (first ^ hash);
}

}
