#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace vossel {

// Text that many records hold at once: it never changes, its owners are counted, and it is one
// pointer wide. Empty text owns no memory. Owners may live on different threads. Below 4 GiB;
// longer text throws std::length_error.
class SharedText {
public:
    SharedText() = default;
    // Implicit on purpose: a text field is set from any text.
    SharedText(std::string_view text); // NOLINT(google-explicit-constructor)
    SharedText(const std::string& text) // NOLINT(google-explicit-constructor)
        : SharedText(std::string_view(text))
    {
    }
    SharedText(const char* text) // NOLINT(google-explicit-constructor)
        : SharedText(std::string_view(text))
    {
    }
    SharedText(const SharedText& other) noexcept
        : block_(other.block_)
    {
        if (block_)
            block_->owners.fetch_add(1, std::memory_order_relaxed);
    }
    SharedText(SharedText&& other) noexcept
        : block_(std::exchange(other.block_, nullptr))
    {
    }
    SharedText& operator=(SharedText other) noexcept
    {
        std::swap(block_, other.block_);
        return *this;
    }
    ~SharedText()
    {
        if (block_)
            release();
    }

    // Valid while an owner lives. Never null.
    [[nodiscard]] std::string_view view() const
    {
        return block_ ? std::string_view(characters(block_), block_->length) : "";
    }
    // The same for all owners of one text, different for different texts alive at a time.
    [[nodiscard]] const void* identity() const { return block_; }

    friend bool operator==(const SharedText& a, const SharedText& b)
    {
        return a.block_ == b.block_ || a.view() == b.view();
    }

private:
    // The characters follow it in the same piece of memory.
    struct Block {
        std::atomic<std::uint32_t> owners;
        std::uint32_t length;
    };

    static const char* characters(const Block* block)
    {
        return static_cast<const char*>(static_cast<const void*>(block + 1));
    }
    void release() noexcept;

    Block* block_ = nullptr;
};

}
