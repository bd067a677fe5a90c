#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace vossel {

// Cuts a stream of bytes into lines. A line longer than the limit is reported once, by its first
// bytes, and skipped to its end. A last line without a line break counts.
class LineSplitter {
public:
    static constexpr std::size_t maxLine = std::size_t{64} * 1024;
    static constexpr std::size_t maxShownOfLongLine = 80;

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
