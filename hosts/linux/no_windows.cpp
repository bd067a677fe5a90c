#include "hosts/linux/no_windows.h"

#include <algorithm>

namespace vossel {

double NoWindows::textWidth(std::string_view text, float fontSize) const
{
    constexpr double widthToHeight = 0.6;
    const auto characters
        = std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; });
    return static_cast<double>(characters) * static_cast<double>(fontSize) * widthToHeight;
}

}
