#pragma once

#include "platform/input_origins.h"

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <utility>

namespace vossel {

// Keeps what programs have had the X server press lately; it must not speak to the server itself. A
// press is told by its time: the number that a program presses need not be the one that arrives,
// for any client may remap buttons and keys. Bounded; what is forgotten too early still counts,
// without a name.
class X11ForgedPresses {
public:
    using Kind = InputOrigins::Kind;
    using Time = InputOrigins::Time;
    // The source is filled in when the client's process is known.
    using Poster = std::shared_ptr<const EventSource>;

    static constexpr std::size_t capacity = 4096;
    static constexpr Time memory = 10 * 60 * 1000; // ms; far from half of the clock's range

    // `time` is when the server took the request. It stamps the press before it takes another one,
    // so `nothingSince` says when that was.
    void pressed(Kind kind, std::uint8_t detail, std::uint8_t device, Time time, Poster poster);
    void released(Kind kind, std::uint8_t detail, std::uint8_t device, Time time);
    // A program sent a finished event, whose time was its own choice.
    void sent(Kind kind, std::uint8_t detail, Time eventTime, Time time, Poster poster);
    // The server takes the next request at this time.
    void nothingSince(Time time);
    [[nodiscard]] bool waitsForNext() const { return open_.has_value(); }
    // What was pressed up to this time is not known: it all counts.
    void lostUntil(Time time);
    // Which device a client's keys are pressed on may have changed: no release is trusted to be
    // that of a key held now.
    void devicesChanged();

    // Finds who made the press; empty for one by hand. `now` is the server's time.
    [[nodiscard]] std::optional<EventSource> find(const InputOrigins::Press& press, Time now) const;
    // Call this now and then, before the server's clock comes around to old times again.
    void forgetOld(Time now);

private:
    struct Entry {
        Kind kind = Kind::Key;
        std::uint8_t detail = 0;
        Time first = 0;
        Time last = 0;
        Time recorded = 0;
        Poster poster;
    };

    void keep(Entry entry);

    std::deque<Entry> entries_;
    // A key that is held repeats, and may do so under another number, or long after it was pressed.
    std::map<std::pair<std::uint16_t, std::uint8_t>, Entry> held_; // by device and number
    std::optional<Entry> open_; // the last request, when it was a press
    std::optional<Time> forgottenUntil_;
    std::uint16_t detached_ = 0x100; // above all devices
};

}
