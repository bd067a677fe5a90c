#include "ui/prompt/permissions_texts.h"

#include "foundation/text_format.h"
#include "platform/processes.h"
#include "prompting/permissions_manager.h"
#include "wire/driver_messages.h"

#include <algorithm>
#include <cstdint>

namespace vossel {

namespace {

std::string pathAndPid(std::string_view path, std::int32_t pid)
{
    return formatText("%@ (%@)", {path.empty() ? "unknown program" : path, std::to_string(pid)});
}

bool isPlainInUrl(char character)
{
    const auto lower = static_cast<unsigned char>(character | 0x20);
    return (lower >= 'a' && lower <= 'z') || (character >= '0' && character <= '9')
        || std::string_view("/-._~").find(character) != std::string_view::npos;
}

}

std::string applicationPathText(const PermissionsManager& manager, const policy_query& query)
{
    return pathAndPid(manager.manicureAppPathForQuery(query), query.pid);
}

std::string parentPathText(const Processes& processes, const policy_query& query)
{
    if (query.ppid < 1)
        return {};
    const std::string_view parent = textOf(query.parent_name);
    if (parent.starts_with('/'))
        return pathAndPid(parent, query.ppid);
    return pathAndPid(processes.executablePath(static_cast<std::uint32_t>(query.ppid)), query.ppid);
}

std::string withoutLineBreaks(std::string_view text)
{
    std::string kept(text);
    std::erase(kept, '\n');
    return kept;
}

std::string fileUrl(std::string_view path)
{
    static constexpr std::string_view digits = "0123456789ABCDEF";
    std::string url = "file://";
    for (const char character : path) {
        if (isPlainInUrl(character)) {
            url += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            url += '%';
            url += digits[byte >> 4];
            url += digits[byte & 0xF];
        }
    }
    return url;
}

std::size_t characterCount(std::string_view text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(),
        [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
}

}
