#pragma once

#include "foundation/mutex.h"
#include "platform/clock.h"
#include "wire/driver_messages.h"

#include <optional>
#include <string>

namespace vossel {

// The wait for the decision on one query: lock, condition and answer in one object, so that of a
// decision, a cancellation, a re-evaluation and a timeout exactly one wins, whoever comes first
// under the lock. It is shared by the query's thread and the prompt. Any thread; nothing is called
// while its lock is held, so it may be taken under any other.
class QueryWait {
public:
    enum class Outcome { Waiting, Answered, Reevaluated, Cancelled, TimedOut };

    // Without a deadline it waits for ever.
    explicit QueryWait(Clock::Instant deadline = Clock::Instant::max())
        : deadline_(deadline)
    {
    }

    // Ends the wait and wakes the waiting thread. False, and nothing is changed, when it had ended
    // before; only TimedOut may still follow Cancelled, which leaves the answer to the thread that
    // waits. `response` is kept for every outcome but Cancelled, which has none.
    [[nodiscard]] bool finish(Outcome outcome, const user_prompt_response& response = {});

    // When the query is answered in the user's place.
    [[nodiscard]] Clock::Instant deadline() const { return deadline_; }
    // Returns the outcome as soon as there is one, Waiting when the deadline has come without.
    Outcome wait(Clock& clock);

    [[nodiscard]] Outcome outcome() const;
    [[nodiscard]] bool isOver() const { return outcome() != Outcome::Waiting; }
    [[nodiscard]] bool hasResponse() const;
    // All zero without one.
    [[nodiscard]] user_prompt_response response() const;

    // The path that the open prompt recommends, kept here for the thread that waits: the window
    // itself belongs to the main thread.
    void setRecommendedPath(std::optional<std::string> path);
    [[nodiscard]] std::optional<std::string> recommendedPath() const;

private:
    const Clock::Instant deadline_;
    mutable Mutex mutex_;
    Condition finished_;
    Outcome outcome_ VOSSEL_GUARDED_BY(mutex_) = Outcome::Waiting;
    user_prompt_response response_ VOSSEL_GUARDED_BY(mutex_){};
    std::optional<std::string> recommendedPath_ VOSSEL_GUARDED_BY(mutex_);
};

}
