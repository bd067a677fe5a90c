#pragma once

#include "foundation/shared_text.h"
#include "foundation/text_hash.h"
#include "rules/marked_slots.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace vossel {

// Gives the same shared text for equal texts, so that what a file repeats is held once. Knows a
// limited number of texts: where hardly any repeats, it would cost more than it saves. One thread.
class TextPool {
public:
    [[nodiscard]] SharedText shared(std::string_view text)
    {
        if (text.empty())
            return {};
        const auto hash = textHash(text);
        const auto place
            = slots_.find(hash, [this, text](auto at) { return texts_[at].view() == text; });
        if (place != MarkedSlots::none)
            return texts_[place];
        if (texts_.size() >= mostTexts)
            return text;
        slots_.insert(hash, static_cast<std::uint32_t>(texts_.size()));
        return texts_.emplace_back(text);
    }

private:
    static constexpr std::size_t mostTexts = 65'536;

    MarkedSlots slots_;
    std::vector<SharedText> texts_;
};

}
