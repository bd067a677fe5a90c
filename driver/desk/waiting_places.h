#pragma once

#include <sys/types.h>

#include <cstddef>
#include <map>

namespace vossel {

// Counts who waits, so that one user's programs cannot use up the places of all others and get
// everybody's accesses decided by the default. Confined to one thread.
class WaitingPlaces {
public:
    enum class Room { Free, UserFull, Full };

    explicit WaitingPlaces(std::size_t most)
        : most_(most)
    {
    }

    // Takes a place when there is one. Root may have all of them, anybody else a quarter.
    [[nodiscard]] Room take(uid_t user);
    // Gives back what take() gave.
    void leave(uid_t user, std::size_t count = 1);

private:
    std::size_t most_;
    std::size_t taken_ = 0;
    std::map<uid_t, std::size_t> takenBy_; // without users that have none
};

}
