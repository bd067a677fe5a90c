#include "hosts/desktop/polkit_helper_line.h"

#include "foundation/utf8.h"

#include <array>
#include <cstddef>
#include <utility>

namespace vossel {

namespace {

using Kind = PolkitHelperLine::Kind;

bool isOctal(char digit)
{
    return digit >= '0' && digit <= '7';
}

// Takes up to three octal digits from the front of `text`.
char takeOctal(std::string_view& text)
{
    unsigned value = 0;
    for (int digits = 0; digits < 3 && !text.empty() && isOctal(text.front()); ++digits) {
        value = value * 8 + static_cast<unsigned>(text.front() - '0');
        text.remove_prefix(1);
    }
    return static_cast<char>(value);
}

std::string unescape(std::string_view text)
{
    static constexpr std::string_view letters = "bfnrtv";
    static constexpr std::string_view meanings = "\b\f\n\r\t\v";
    std::string plain;
    while (!text.empty()) {
        char next = text.front();
        if (next == '\\' && text.size() > 1) {
            text.remove_prefix(1);
            if (isOctal(text.front())) {
                plain += takeOctal(text);
                continue;
            }
            const std::size_t letter = letters.find(text.front());
            next = letter == std::string_view::npos ? text.front() : meanings[letter];
        }
        plain += next;
        text.remove_prefix(1);
    }
    return toValidUtf8(plain);
}

}

PolkitHelperLine parsePolkitHelperLine(std::string_view line)
{
    static constexpr std::array<std::pair<std::string_view, Kind>, 4> texts = {{
        {"PAM_PROMPT_ECHO_OFF ", Kind::AskHidden},
        {"PAM_PROMPT_ECHO_ON ", Kind::AskShown},
        {"PAM_TEXT_INFO ", Kind::Tell},
        {"PAM_ERROR_MSG ", Kind::Tell},
    }};
    for (const auto& [word, kind] : texts)
        if (line.starts_with(word))
            return {kind, unescape(line.substr(word.size()))};
    if (line == "SUCCESS")
        return {Kind::Success};
    return {line == "FAILURE" ? Kind::Failure : Kind::Unknown};
}

}
