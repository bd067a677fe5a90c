#include "ui/controls/text_field.h"

#include "platform/window_system.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace vossel {

namespace {

// Height of a line as a multiple of the font's size; the window system measures widths only.
constexpr double lineSpacing = 1.25;

}

void TextField::sizeToFit(const WindowSystem& windows)
{
    Rect fitted = frame();
    fitted.width = 0;
    double lines = 0;
    std::string_view rest = stringValue();
    for (bool more = true; more;) {
        const std::size_t end = rest.find('\n');
        fitted.width = std::max(fitted.width, windows.textWidth(rest.substr(0, end), fontSize()));
        ++lines;
        more = end != std::string_view::npos;
        if (more)
            rest.remove_prefix(end + 1);
    }
    fitted.height = lines * std::ceil(static_cast<double>(fontSize()) * lineSpacing);
    setFrame(fitted);
}

}
