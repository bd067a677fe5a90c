#include "driver/desk/waiting_places.h"

#include <algorithm>

namespace vossel {

WaitingPlaces::Room WaitingPlaces::take(uid_t user)
{
    // Looked at first: whoever has filled the rest is refused, not let through.
    const auto own = takenBy_.find(user);
    if (user != 0 && own != takenBy_.end() && own->second >= std::max<std::size_t>(most_ / 4, 1))
        return Room::UserFull;
    if (taken_ >= most_)
        return Room::Full;
    ++taken_;
    ++takenBy_[user];
    return Room::Free;
}

void WaitingPlaces::leave(uid_t user, std::size_t count)
{
    const auto own = takenBy_.find(user);
    if (own == takenBy_.end())
        return;
    count = std::min(count, own->second);
    taken_ -= count;
    own->second -= count;
    if (own->second == 0)
        takenBy_.erase(own);
}

}
