#pragma once

#include "rules/path_cover.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vossel {

// What an answer is about beyond the access that it was given for.
struct AnsweredPath {
    PathKind kind = PathKind::None;
    std::string text;

    bool operator==(const AnsweredPath&) const = default;
};

// What an answer with this PathType and path says about the path `asked`; nothing where it names no
// path. It never covers more than it says: only a folder, the packet-capture devices and a place
// among the pseudo paths are prefixes, any other path is that path alone. A pseudo path that is
// answered with an ordinary path, or none, is itself what was answered.
[[nodiscard]] std::optional<AnsweredPath> answeredPath(
    std::int32_t pathType, std::string_view path, std::string_view asked);

}
