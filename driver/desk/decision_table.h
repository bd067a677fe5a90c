#pragma once

#include "driver/desk/held_decision.h"

#include <deque>

namespace vossel {

// Owns the answers that still hold; the newest that covers an access wins. It asks nobody and does
// not know who waits. Confined to one thread.
class DecisionTable {
public:
    // Beyond this many the oldest is forgotten, and what it covered is asked about again.
    static constexpr std::size_t maxDecisions = 8192;

    struct Verdict {
        bool deny = false;
        std::int32_t undecided = 0; // operations that nothing covers

        [[nodiscard]] bool isAllow() const { return !deny && undecided == 0; }
        bool operator==(const Verdict&) const = default;
    };

    // One operation that is denied denies the whole access.
    [[nodiscard]] Verdict judge(const Access& access) const;
    // Takes the place of answers with the same scope, and drops those that no longer hold.
    void add(HeldDecision decision);
    // Whether any decision looks at ancestors; else nobody needs to find them, which takes time.
    [[nodiscard]] bool looksAtAncestors() const;
    [[nodiscard]] std::size_t size() const { return decisions_.size(); }

private:
    std::deque<HeldDecision> decisions_; // newest first
};

}
