#include "rules/store/application_table.h"

namespace vossel {

namespace {

// Names are seldom longer, and the rest of a longer one is not far.
constexpr std::size_t usualNameSize = 96;

}

LoadedApplication& ApplicationTable::find(const Wanted& wanted, Arena& arena)
{
    const auto fits = [this, &wanted](auto place) { return isMeant(applications_[place], wanted); };
    if (wanted.likely != MarkedSlots::none && fits(wanted.likely))
        return applications_[wanted.likely];
    const auto place = slots_.find(wanted.hash, fits);
    if (place != MarkedSlots::none)
        return applications_[place];
    slots_.insert(wanted.hash, static_cast<std::uint32_t>(applications_.size()));
    return applications_.append(
        {{RuleText(arena, wanted.processName), RuleText(arena, wanted.constraint)}});
}

void ApplicationTable::expectApplication(Wanted& wanted) const
{
    wanted.likely = slots_.likely(wanted.hash);
    if (wanted.likely != MarkedSlots::none)
        prefetch(&applications_[wanted.likely]);
}

void ApplicationTable::clear()
{
    slots_.reset(0);
    applications_.clear();
}

void ApplicationTable::expectName(const Wanted& wanted) const
{
    if (wanted.likely != MarkedSlots::none)
        prefetch(applications_[wanted.likely].processName.view().data(), usualNameSize);
}

}
