#pragma once

#include "foundation/result.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace vossel {

// What a script asks of the open prompt.
struct LineCommand {
    enum class Kind {
        Allow,
        Deny,
        Path, // number: index into the path list
        Process, // number: index into the process list
        Duration, // number: 0 once, 1 until quit, 2 until restart, 3 forever
        Operations,
        Updates, // number: 1 on, 0 off
        Advanced,
        State,
        Wait,
    };

    Kind kind = Kind::State;
    std::int32_t number = 0;

    bool operator==(const LineCommand&) const = default;
};

// Words are separated by spaces or tabs; a number is decimal digits and fits 31 bits. Fails with
// the reason; any bytes may be given.
Result<LineCommand> parseLineCommand(std::string_view line);

// Cuts a stream of bytes into lines. A line longer than the limit is reported once, by its first
// bytes, and skipped to its end. A last line without a line break counts.
class LineSplitter {
public:
    static constexpr std::size_t longestLine = std::size_t{64} * 1024;
    static constexpr std::size_t shownOfLongLine = 80;

    // `line` is valid during the call, without its line break ("\n" or "\r\n").
    using Handler = std::function<void(std::string_view line, bool tooLong)>;

    void feed(std::string_view bytes, const Handler& handler);
    void finish(const Handler& handler);

private:
    void append(std::string_view piece, const Handler& handler);
    void endLine(const Handler& handler);

    std::string line_;
    bool skipping_ = false;
};

}
