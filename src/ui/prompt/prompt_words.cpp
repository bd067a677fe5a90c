#include "ui/prompt/prompt_words.h"

#include "wire/driver_messages.h"

#include <array>
#include <cstddef>

namespace vossel {

std::string_view durationTitle(std::int32_t code)
{
    static constexpr std::array<std::string_view, DURATION_FOREVER + 1> titles{
        "Once", "Until the program quits", "Until restart", "Forever"};
    const bool known = code >= DURATION_ONCE && code <= DURATION_FOREVER;
    return known ? titles[static_cast<std::size_t>(code)] : std::string_view();
}

std::string_view shortDurationTitle(std::int32_t code)
{
    return code == DURATION_UNTIL_QUIT ? "Until it quits" : durationTitle(code);
}

std::string signatureSentence(std::string_view text, std::int32_t codeSignState)
{
    if (codeSignState == CODE_SIGN_VALID)
        return "Signed by " + std::string(text.empty() ? "unknown" : text);
    return std::string(text.empty() ? "Not signed" : text);
}

}
