#pragma once

#include "foundation/arena.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace vossel {

// A text of a rule: it never changes and is one pointer wide. It owns its characters, or they lie
// in an arena that outlives it; a copy always owns, so that it may go anywhere. Below 4 GiB; longer
// text throws std::length_error.
class RuleText {
public:
    RuleText() = default;
    // Implicit on purpose: a text field is set from any text.
    RuleText(std::string_view text); // NOLINT(google-explicit-constructor)
    RuleText(const std::string& text) // NOLINT(google-explicit-constructor)
        : RuleText(std::string_view(text))
    {
    }
    RuleText(const char* text) // NOLINT(google-explicit-constructor)
        : RuleText(std::string_view(text))
    {
    }
    RuleText(Arena& arena, std::string_view text);
    RuleText(const RuleText& other)
        : RuleText(other.view())
    {
    }
    RuleText(RuleText&& other) noexcept
        : block_(std::exchange(other.block_, nullptr))
    {
    }
    RuleText& operator=(RuleText other) noexcept
    {
        std::swap(block_, other.block_);
        return *this;
    }
    ~RuleText()
    {
        if (block_ && block_->owned)
            release();
    }

    // Of a text in an arena: another one of the same characters. Else a copy.
    [[nodiscard]] RuleText alias() const
    {
        RuleText text;
        if (block_ && block_->owned)
            text = *this;
        else
            text.block_ = block_;
        return text;
    }

    // Valid while the characters are kept. Never null.
    [[nodiscard]] std::string_view view() const
    {
        return block_ ? std::string_view(characters(block_), block_->length) : "";
    }
    // The same for all that share their characters, different for different texts alive at a time.
    [[nodiscard]] const void* identity() const { return block_; }

    friend bool operator==(const RuleText& a, const RuleText& b)
    {
        return a.block_ == b.block_ || a.view() == b.view();
    }

private:
    // The characters follow it in the same piece of memory.
    struct Block {
        std::uint32_t length;
        bool owned; // by the one text that names it; else by an arena
    };

    static const char* characters(const Block* block)
    {
        return static_cast<const char*>(static_cast<const void*>(block + 1));
    }
    static const Block* filled(void* memory, std::string_view text, bool owned);
    void release() noexcept;

    const Block* block_ = nullptr;
};

}
