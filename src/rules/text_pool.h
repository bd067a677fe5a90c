#pragma once

#include "foundation/arena.h"
#include "foundation/text_hash.h"
#include "rules/marked_slots.h"
#include "rules/rule_text.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace vossel {

// Puts texts into an arena and equal ones once, so that what a file repeats is held once. Knows a
// limited number of texts: where hardly any repeats, it would cost more than it saves. One thread.
class TextPool {
public:
    [[nodiscard]] RuleText shared(Arena& arena, std::string_view text)
    {
        if (text.empty())
            return {};
        const auto hash = textHash(text);
        const auto place
            = slots_.find(hash, [this, text](auto at) { return texts_[at].view() == text; });
        if (place != MarkedSlots::none)
            return texts_[place].alias();
        if (texts_.size() >= maxTexts)
            return {arena, text};
        slots_.insert(hash, static_cast<std::uint32_t>(texts_.size()));
        return texts_.emplace_back(arena, text).alias();
    }
    void clear()
    {
        slots_.reset(0);
        texts_.clear();
    }

private:
    static constexpr std::size_t maxTexts = 65'536;

    MarkedSlots slots_;
    std::vector<RuleText> texts_;
};

}
