#pragma once

#include "driver/desk/held_decision.h"

#include <deque>

namespace vossel {

// The answers that still hold; the newest that covers an access wins. Confined to one thread.
class DecisionTable {
public:
    // The oldest are forgotten beyond this; what they covered is asked about again.
    static constexpr std::size_t mostDecisions = 8192;

    struct Verdict {
        bool deny = false;
        std::int32_t undecided = 0; // operations that nothing covers

        [[nodiscard]] bool isAllow() const { return !deny && undecided == 0; }
        bool operator==(const Verdict&) const = default;
    };

    // One operation denied denies the whole access.
    [[nodiscard]] Verdict judge(const Access& access) const;
    // Replaces what it repeats, and drops what no longer holds.
    void add(HeldDecision decision);
    // Whether any decision looks at ancestors: finding them costs.
    [[nodiscard]] bool looksAtAncestors() const;
    [[nodiscard]] std::size_t size() const { return decisions_.size(); }

private:
    std::deque<HeldDecision> decisions_; // newest first
};

}
