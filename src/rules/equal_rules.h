#pragma once

#include "rules/marked_slots.h"

#include <vector>

namespace vossel {

// Finds a rule equal to a given one among many. Owns its table, never the rules. One thread.
template <class RuleType>
class EqualRules {
public:
    // Forgets all, with room for so many.
    void reset(std::size_t count)
    {
        slots_.reset(count);
        rules_.clear();
    }

    // The rule that find will most likely compare with; null for none.
    [[nodiscard]] const RuleType* likely(std::uint64_t hash) const
    {
        const auto place = slots_.likely(hash);
        return place == MarkedSlots::none ? nullptr : rules_[place];
    }

    // Some rule with this hash for which equal(rule) holds; null for none.
    template <class Equal>
    [[nodiscard]] const RuleType* find(std::uint64_t hash, const Equal& equal) const
    {
        const auto place
            = slots_.find(hash, [this, &equal](auto at) { return equal(*rules_[at]); });
        return place == MarkedSlots::none ? nullptr : rules_[place];
    }

    void insert(std::uint64_t hash, const RuleType& rule)
    {
        slots_.insert(hash, static_cast<std::uint32_t>(rules_.size()));
        rules_.push_back(&rule);
    }

private:
    MarkedSlots slots_;
    std::vector<const RuleType*> rules_;
};

}
