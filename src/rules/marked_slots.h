#pragma once

#include "foundation/prefetch.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vossel {

// Finds by hash the place of something in a list kept elsewhere: open addressing, eight bytes a
// slot, where half of the hash stands beside the place, so that hardly anything is looked at that
// is not meant. For fewer than 2^32 things. One thread.
class MarkedSlots {
public:
    static constexpr std::uint32_t none = 0xFFFF'FFFF;

    // The place for which fits(place) holds among those with this hash; `none` where there is none.
    template <class Fits>
    [[nodiscard]] std::uint32_t find(std::uint64_t hash, const Fits& fits) const
    {
        if (slots_.empty())
            return none;
        const auto mark = markOf(hash);
        for (auto at = slotOf(mark); slots_[at].place != none; at = after(at))
            if (slots_[at].mark == mark && fits(slots_[at].place))
                return slots_[at].place;
        return none;
    }
    // The first candidate for the hash, likely the right one; `none` where there is none.
    [[nodiscard]] std::uint32_t likely(std::uint64_t hash) const
    {
        return find(hash, [](std::uint32_t) { return true; });
    }
    // What find will read first.
    void expect(std::uint64_t hash) const
    {
        if (!slots_.empty())
            prefetch(&slots_[slotOf(markOf(hash))]);
    }

    void insert(std::uint64_t hash, std::uint32_t place)
    {
        if (maxCount(slots_.size()) <= count_)
            moveInto(slots_.empty() ? minSlots : 2 * slots_.size());
        put({markOf(hash), place});
        ++count_;
    }
    // Forgets all, with room for so many.
    void reset(std::size_t count)
    {
        auto wanted = minSlots;
        while (maxCount(wanted) < count)
            wanted *= 2;
        slots_.assign(wanted, Slot());
        count_ = 0;
    }

private:
    struct Slot {
        std::uint32_t mark = 0;
        std::uint32_t place = none;
    };
    static constexpr std::size_t minSlots = 64; // a power of two, like all larger ones

    static constexpr std::size_t maxCount(std::size_t slots) { return slots / 8 * 5; }

    // Every bit of a hash is well mixed, so that its lower ones do as a place, too.
    static std::uint32_t markOf(std::uint64_t hash) { return static_cast<std::uint32_t>(hash); }
    [[nodiscard]] std::size_t slotOf(std::uint32_t mark) const
    {
        return mark & (slots_.size() - 1);
    }
    [[nodiscard]] std::size_t after(std::size_t at) const { return (at + 1) & (slots_.size() - 1); }

    void put(Slot slot)
    {
        auto at = slotOf(slot.mark);
        while (slots_[at].place != none)
            at = after(at);
        slots_[at] = slot;
    }
    void moveInto(std::size_t size)
    {
        std::vector<Slot> old(size);
        old.swap(slots_);
        for (const auto& slot : old)
            if (slot.place != none)
                put(slot);
    }

    std::vector<Slot> slots_;
    std::size_t count_ = 0;
};

}
