#include "foundation/text_format.h"

namespace vossel {

std::string formatText(std::string_view format, std::initializer_list<std::string_view> arguments)
{
    static constexpr std::string_view placeholder = "%@";

    std::size_t length = format.size();
    for (const auto argument : arguments)
        length += argument.size();
    std::string text;
    text.reserve(length);

    for (const auto argument : arguments) {
        const auto at = format.find(placeholder);
        if (at == std::string_view::npos)
            break;
        text.append(format.substr(0, at)).append(argument);
        format.remove_prefix(at + placeholder.size());
    }
    return text.append(format);
}

}
