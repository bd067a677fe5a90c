#pragma once

#include <string>
#include <string_view>

namespace vossel {

// What polkit's setuid helper says in one line of its output.
struct PolkitHelperLine {
    enum class Kind { AskHidden, AskShown, Tell, Success, Failure, Unknown };

    Kind kind = Kind::Unknown;
    std::string text{}; // of a question or something to tell: UTF-8

    bool operator==(const PolkitHelperLine&) const = default;
};

// `line` comes without its line break. Texts travel escaped as in C: \n and the like, \" and \\,
// and three octal digits for every byte that is not printable ASCII.
[[nodiscard]] PolkitHelperLine parsePolkitHelperLine(std::string_view line);

}
