#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vossel {

// How the reading of a rules file went. Whoever writes a user's file back must refuse after
// NotUtf8, CutByNul and Unreadable: the file holds more than the store does.
enum class ReadOutcome {
    Read,
    Missing,
    Empty,
    NotUtf8, // taken for empty
    CutByNul, // read up to the first NUL
    Unreadable,
};

struct RulesFileReading {
    ReadOutcome outcome = ReadOutcome::Missing;
    // Set when the reading failed; the store reports it. Missing, empty and undecodable files
    // count as empty ones.
    std::optional<std::string> error;

    // Whether what was handed over is the file's content, up to its first NUL.
    [[nodiscard]] bool isContent() const
    {
        return outcome == ReadOutcome::Read || outcome == ReadOutcome::CutByNul;
    }
};

// Hands a rules file over in pieces, and keeps nothing of it: whole lines of valid UTF-8 without a
// NUL, one piece after the other. Only once this returns does one know whether they count
// (isContent). A symbolic link is refused, and more than 4 GiB for lack of memory. Holds 256 KiB,
// or the longest line.
[[nodiscard]] RulesFileReading readRulesFile(
    const std::string& path, const std::function<void(std::string_view lines)>& take);

}
