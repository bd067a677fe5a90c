#pragma once

#include <sys/types.h>

#include <cstddef>
#include <map>

namespace vossel {

// Owns the count of those who wait, by user, so that one user's programs cannot use up the places
// of all others and get everybody's accesses decided by the default. It knows nobody who waits:
// each place that was taken must be given back. Confined to one thread.
class WaitingPlaces {
public:
    enum class Room { Free, UserFull, Full };

    explicit WaitingPlaces(std::size_t maxPlaces)
        : maxPlaces_(maxPlaces)
    {
    }

    // Takes a place when there is one. Root may have all of them, any other user a quarter.
    [[nodiscard]] Room take(uid_t user);
    // Gives back places that take() gave; more than the user has are not counted.
    void leave(uid_t user, std::size_t count = 1);

private:
    std::size_t maxPlaces_;
    std::size_t taken_ = 0;
    std::map<uid_t, std::size_t> takenBy_; // without users that have none
};

}
