#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Which paths a rule or an answer is about: the one meaning for both. Paths are bytes, and a
// folder's ends in "/". What "~/" stands for must have been put in its place before.

namespace vossel {

enum class PathKind {
    None, // no path
    Any, // every path, whatever the text
    Exact, // the text alone
    Prefix, // whatever begins with the text: "/a/b" is about "/a/bc" too
    Suffix, // whatever ends in the text
};

[[nodiscard]] bool coversPath(PathKind kind, std::string_view text, std::string_view path);

// What a rule of this PolicyType says with its path: "" and "any" are every path, whatever the
// type, and a type of no meaning is none.
[[nodiscard]] PathKind pathKindOfRule(std::int32_t policyType, std::string_view path);

// How an answer names its path; the numbers are those of the driver's messages.
enum AnswerPathType : std::int32_t {
    ANSWER_PATH_PREFIX = 0,
    ANSWER_PATH_EXACT = 1,
    ANSWER_PATH_SUFFIX = 2,
};
// The packet-capture devices are told from each other by a number only.
inline constexpr std::string_view answeredDevices = "/dev/bpf";

// What an answer is about beyond the access that it was given for.
struct AnsweredPath {
    PathKind kind = PathKind::None;
    std::string text;

    bool operator==(const AnsweredPath&) const = default;
};

// What an answer with this AnswerPathType and path says about the path `asked`; nothing where it
// names no path. It never covers more than it says: only a folder, the packet-capture devices and a
// place among the pseudo paths are prefixes, any other path is that path alone. A pseudo path that
// is answered with an ordinary path, or none, is itself what was answered.
[[nodiscard]] std::optional<AnsweredPath> answeredPath(
    std::int32_t pathType, std::string_view path, std::string_view asked);

}
