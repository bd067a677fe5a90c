#include "driver/desk/decision_table.h"

#include <algorithm>

namespace vossel {

namespace {

bool stillHolds(const HeldDecision& decision)
{
    return !decision.holds || decision.holds();
}

bool hasSameScope(const HeldDecision& a, const HeldDecision& b)
{
    return a.operations == b.operations && a.path == b.path && a.fileId == b.fileId
        && a.scope == b.scope && a.sameVersion == b.sameVersion && a.program == b.program
        && a.parent == b.parent && a.ancestor == b.ancestor && a.onlyUser == b.onlyUser;
}

}

DecisionTable::Verdict DecisionTable::judge(const Access& access) const
{
    Verdict verdict = {false, access.operations};
    for (const HeldDecision& decision : decisions_) {
        if (verdict.undecided == 0)
            break;
        if ((decision.operations & verdict.undecided) == 0 || !covers(decision, access)
            || !stillHolds(decision))
            continue;
        verdict.deny = verdict.deny || !decision.allow;
        verdict.undecided &= ~decision.operations;
    }
    if (verdict.deny)
        verdict.undecided = 0;
    return verdict;
}

void DecisionTable::add(HeldDecision decision)
{
    // An answer that ends with a process hides one that stays, and does so only while it holds: the
    // hidden one is kept.
    const auto isObsolete = [&decision](const HeldDecision& old) {
        return !stillHolds(old) || (!decision.holds && hasSameScope(old, decision));
    };
    decisions_.erase(
        std::remove_if(decisions_.begin(), decisions_.end(), isObsolete), decisions_.end());
    decisions_.push_front(std::move(decision));
    if (decisions_.size() > maxDecisions)
        decisions_.pop_back();
}

bool DecisionTable::looksAtAncestors() const
{
    return std::any_of(decisions_.begin(), decisions_.end(),
        [](const HeldDecision& decision) { return decision.scope == PROCESS_ANY_WITH_ANCESTOR; });
}

}
