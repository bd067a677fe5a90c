#include "hosts/x11/x11_forged_presses.h"

namespace vossel {

namespace {

bool isSame(const InputOrigins::Press& press, InputOrigins::Kind kind, std::uint8_t detail)
{
    return press.kind == kind && press.detail == detail;
}

}

void X11ForgedPresses::pressed(
    Kind kind, std::uint8_t detail, std::uint8_t device, Time time, Poster poster)
{
    const Entry entry{kind, detail, time, time, time, std::move(poster)};
    open_ = entry;
    if (kind == Kind::Key)
        held_.try_emplace({device, detail}, entry);
}

void X11ForgedPresses::released(Kind kind, std::uint8_t detail, std::uint8_t device, Time time)
{
    const auto held = held_.find({device, detail});
    if (kind != Kind::Key || held == held_.end())
        return;
    Entry entry = std::move(held->second);
    held_.erase(held);
    entry.last = time;
    entry.recorded = time;
    keep(std::move(entry));
}

void X11ForgedPresses::sent(
    Kind kind, std::uint8_t detail, Time eventTime, Time time, Poster poster)
{
    keep({kind, detail, eventTime, eventTime, time, std::move(poster)});
}

void X11ForgedPresses::nothingSince(Time time)
{
    if (!open_)
        return;
    open_->last = time;
    open_->recorded = time;
    keep(std::move(*open_));
    open_.reset();
}

void X11ForgedPresses::devicesChanged()
{
    std::map<std::pair<std::uint16_t, std::uint8_t>, Entry> held;
    for (auto& [key, entry] : held_)
        held.try_emplace({detached_, key.second}, std::move(entry));
    held_ = std::move(held);
}

void X11ForgedPresses::lostUntil(Time time)
{
    entries_.clear();
    held_.clear();
    open_.reset();
    forgottenUntil_ = time;
}

void X11ForgedPresses::keep(Entry entry)
{
    entries_.push_back(std::move(entry));
    if (entries_.size() <= capacity)
        return;
    const Entry& oldest = entries_.front();
    // A sent event may be of the future, which then becomes the time that nothing is known of.
    const Time until = oldest.last - oldest.recorded < memory ? oldest.last : oldest.recorded;
    if (!forgottenUntil_ || until - *forgottenUntil_ < memory)
        forgottenUntil_ = until;
    entries_.pop_front();
}

std::optional<EventSource> X11ForgedPresses::find(const InputOrigins::Press& press, Time now) const
{
    const Entry* found = nullptr;
    const auto look = [&](const Entry& entry, Time last) {
        if (press.time - entry.first > last - entry.first)
            return;
        if (!found || isSame(press, entry.kind, entry.detail))
            found = &entry;
    };
    for (const auto& [key, entry] : held_)
        look(entry, now);
    for (const Entry& entry : entries_)
        look(entry, entry.last);
    if (open_)
        look(*open_, now);
    if (found)
        return *found->poster;
    // No device presses in the future, and nobody reads a press so late.
    if (now - press.time > memory)
        return unnamedProgram;
    if (forgottenUntil_ && *forgottenUntil_ - press.time < memory)
        return unnamedProgram;
    return std::nullopt;
}

void X11ForgedPresses::forgetOld(Time now)
{
    while (!entries_.empty() && now - entries_.front().recorded > memory)
        entries_.pop_front();
    if (forgottenUntil_ && now - *forgottenUntil_ > memory && *forgottenUntil_ - now > memory)
        forgottenUntil_.reset();
    for (auto& [key, entry] : held_) {
        if (now - entry.first > memory)
            entry.first = now - memory;
    }
}

}
