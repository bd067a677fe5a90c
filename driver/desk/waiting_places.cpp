#include "driver/desk/waiting_places.h"

#include <algorithm>

namespace vossel {

WaitingPlaces::Room WaitingPlaces::take(uid_t user)
{
    // This is looked at before the whole: a user who has used up all places must be refused, and
    // not be let through by the default.
    const auto own = takenBy_.find(user);
    if (user != 0 && own != takenBy_.end()
        && own->second >= std::max<std::size_t>(maxPlaces_ / 4, 1))
        return Room::UserFull;
    if (taken_ >= maxPlaces_)
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
