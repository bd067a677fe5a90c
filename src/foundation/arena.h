#pragma once

#include <cstddef>
#include <new>
#include <utility>
#include <vector>

namespace vossel {

// Memory for very many small things that go all at once: taking a piece moves one pointer, giving
// it back costs nothing until the arena ends. Owns the memory and destroys nothing that lies in it:
// what is put here must own nothing elsewhere. One thread.
class Arena {
public:
    Arena() = default;
    Arena(Arena&& other) noexcept { swap(other); }
    Arena& operator=(Arena&& other) noexcept
    {
        Arena old(std::move(other));
        swap(old);
        return *this;
    }
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;
    ~Arena();

    // Room for so many bytes, aligned for pointers and numbers.
    [[nodiscard]] void* take(std::size_t size)
    {
        const auto whole = (size + alignment - 1) / alignment * alignment;
        if (left_ < whole)
            addBlock(whole);
        left_ -= whole;
        return std::exchange(at_, at_ + whole);
    }
    // An object that is never destroyed.
    template <class T, class... Arguments>
    [[nodiscard]] T& make(Arguments&&... arguments)
    {
        static_assert(alignof(T) <= alignment);
        return *new (take(sizeof(T))) T(std::forward<Arguments>(arguments)...);
    }
    // Owns from now on what the other one owned, which is empty afterwards. Nothing moves.
    void absorb(Arena&& other);

private:
    static constexpr std::size_t alignment = 8;

    struct Block {
        void* memory;
        std::align_val_t alignment;
    };
    void addBlock(std::size_t minSize);
    void swap(Arena& other) noexcept;

    char* at_ = nullptr; // where the next piece begins
    std::size_t left_ = 0; // bytes from there on
    std::size_t held_ = 0; // bytes of all blocks
    std::vector<Block> blocks_;
};

}
