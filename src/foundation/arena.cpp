#include "foundation/arena.h"

#include <sys/mman.h>

#include <algorithm>

namespace vossel {

namespace {

constexpr std::size_t minBlock = std::size_t{16} << 10U;
constexpr std::size_t maxBlock = std::size_t{32} << 20U;
// The processor's large pages: one fault for each instead of one for each 4 KiB.
constexpr std::size_t largePage = std::size_t{2} << 20U;

}

Arena::~Arena()
{
    for (const auto& block : blocks_)
        ::operator delete(block.memory, block.alignment);
}

// Each block is as large as all before it, so that a small arena stays small.
void Arena::addBlock(std::size_t minSize)
{
    auto size = std::max(minSize, std::clamp(held_, minBlock, maxBlock));
    auto aligned = std::align_val_t{alignment};
    if (size >= 2 * largePage) {
        size = (size + largePage - 1) / largePage * largePage;
        aligned = std::align_val_t{largePage};
    }
    blocks_.reserve(blocks_.size() + 1);
    void* const memory = ::operator new(size, aligned);
    blocks_.push_back({memory, aligned});
    if (size >= 2 * largePage)
        (void)::madvise(memory, size, MADV_HUGEPAGE); // refused, it is only slower
    at_ = static_cast<char*>(memory);
    left_ = size;
    held_ += size;
}

void Arena::absorb(Arena&& other)
{
    blocks_.insert(blocks_.end(), other.blocks_.begin(), other.blocks_.end());
    other.blocks_.clear();
    held_ += std::exchange(other.held_, 0);
    // The larger rest is filled, the smaller one is lost.
    if (other.left_ > left_) {
        at_ = other.at_;
        left_ = other.left_;
    }
    other.at_ = nullptr;
    other.left_ = 0;
}

void Arena::swap(Arena& other) noexcept
{
    std::swap(at_, other.at_);
    std::swap(left_, other.left_);
    std::swap(held_, other.held_);
    blocks_.swap(other.blocks_);
}

}
