#include "prompting/utilities.h"

#include "platform/processes.h"
#include "platform/window_system.h"
#include "ui/controls/text_field.h"

#include <algorithm>
#include <optional>

namespace vossel {

namespace {

// Only this much of a path is compared.
constexpr std::size_t comparedPathBytes = 1024;

// Points.
constexpr float smallestShrunkFont = 12;
constexpr float fontStep = 0.5F;

std::optional<int> hexDigit(char character)
{
    if (character >= '0' && character <= '9')
        return character - '0';
    const char lower = static_cast<char>(character | 0x20);
    if (lower >= 'a' && lower <= 'f')
        return lower - 'a' + 10;
    return std::nullopt;
}

// Empty for a "%" without two digits behind it, and for a NUL, which no path can hold.
std::optional<std::string> percentDecoded(std::string_view text)
{
    std::string decoded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        char byte = text[at];
        if (byte == '%') {
            if (text.size() - at < 3)
                return std::nullopt;
            const auto high = hexDigit(text[at + 1]);
            const auto low = hexDigit(text[at + 2]);
            if (!high || !low)
                return std::nullopt;
            byte = static_cast<char>(*high * 16 + *low);
            at += 2;
        }
        if (byte == '\0')
            return std::nullopt;
        decoded.push_back(byte);
    }
    return decoded;
}

// The path of a file URL on this machine, without a trailing slash; empty for every other URL.
std::optional<std::string> pathOfFileUrl(std::string_view url)
{
    static constexpr std::string_view scheme = "file://";
    static constexpr std::string_view ownHost = "localhost";
    if (!url.starts_with(scheme))
        return std::nullopt;
    url.remove_prefix(scheme.size());
    if (url.starts_with(ownHost))
        url.remove_prefix(ownHost.size());
    if (!url.starts_with('/'))
        return std::nullopt;
    auto path = percentDecoded(url.substr(0, url.find_first_of("?#")));
    while (path && path->size() > 1 && path->ends_with('/'))
        path->pop_back();
    return path;
}

}

std::int32_t Utilities::processIDForParentOfProcessID(std::uint32_t pid) const
{
    return services_.processes.parentOf(pid);
}

std::uint32_t Utilities::findProcessIDWithPath(std::string_view path) const
{
    // A process whose path may not be read has an empty one: it must match nothing.
    const auto wanted = path.substr(0, comparedPathBytes);
    std::uint32_t found = 0;
    for (const auto pid : services_.processes.all()) {
        const auto executable = services_.processes.executablePath(pid);
        if (!executable.empty() && executable == wanted)
            found = pid;
    }
    return found;
}

std::uint32_t Utilities::findInstallerPID() const
{
    return services_.installers.runningInstaller();
}

bool Utilities::isDiskImageAtURL(std::string_view url) const
{
    const auto path = pathOfFileUrl(url);
    return path && services_.volumes.isDiskImage(*path);
}

void Utilities::adjustFontSizeToFitWidth(TextField& field) const
{
    const Rect given = field.frame();
    field.sizeToFit(services_.windows);
    while (field.fontSize() > smallestShrunkFont && field.frame().width > given.width) {
        field.setFontSize(field.fontSize() - fontStep);
        field.sizeToFit(services_.windows);
    }
    Rect fitted = field.frame();
    fitted.width = std::min(fitted.width, given.width);
    fitted.height = given.height;
    field.setFrame(fitted);
}

}
