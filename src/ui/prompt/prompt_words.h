#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// The words of the prompts that come from no query, each said once for every front end.

namespace vossel {

// The title of a duration's code, as "Until restart"; empty for a code that is none.
[[nodiscard]] std::string_view durationTitle(std::int32_t code);

// The same for a choice that has little room: "Until it quits".
[[nodiscard]] std::string_view shortDurationTitle(std::int32_t code);

inline constexpr std::string_view recommendedTitle = "recommended"; // of an entry
inline constexpr std::string_view updatesTitle = "Updates of this program too";
inline constexpr std::string_view detailsTitle = "Details"; // the way to the advanced prompt

// What the prompts say of a program's signature: "Signed by Acme", "Not signed". `text` is what the
// inspection found, which may be nothing.
[[nodiscard]] std::string signatureSentence(std::string_view text, std::int32_t codeSignState);

}
