#include "foundation/path_text.h"

namespace vossel {

namespace {

std::string_view withoutTrailingSlashes(std::string_view path)
{
    const auto last = path.find_last_not_of('/');
    return last == std::string_view::npos ? std::string_view() : path.substr(0, last + 1);
}

}

std::string_view lastPathComponent(std::string_view path)
{
    const auto trimmed = withoutTrailingSlashes(path);
    if (trimmed.empty())
        return path.substr(0, 1);
    // npos + 1 is 0: without a slash the whole text is the component.
    return trimmed.substr(trimmed.rfind('/') + 1);
}

std::string_view pathExtension(std::string_view path)
{
    const auto name = lastPathComponent(path);
    const auto dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0)
        return {};
    return name.substr(dot + 1);
}

std::vector<std::string_view> pathComponents(std::string_view path)
{
    std::vector<std::string_view> components;
    if (path.empty())
        return components;
    if (path.front() == '/')
        components.push_back(path.substr(0, 1));
    for (auto start = path.find_first_not_of('/'); start != std::string_view::npos;) {
        auto end = path.find('/', start);
        if (end == std::string_view::npos)
            end = path.size();
        components.push_back(path.substr(start, end - start));
        start = path.find_first_not_of('/', end);
        if (start == std::string_view::npos && end < path.size())
            components.push_back(path.substr(end, 1));
    }
    return components;
}

std::string_view parentPath(std::string_view path)
{
    const auto trimmed = withoutTrailingSlashes(path);
    if (trimmed.empty())
        return path.substr(0, 1);
    const auto slash = trimmed.rfind('/');
    if (slash == std::string_view::npos)
        return {};
    const auto parent = withoutTrailingSlashes(trimmed.substr(0, slash));
    return parent.empty() ? path.substr(0, 1) : parent;
}

bool isSIP(std::string_view path)
{
    if (path.starts_with("/usr/"))
        return !path.starts_with("/usr/local/");
    return path.starts_with("/System/") || path.starts_with("/bin/") || path.starts_with("/sbin/");
}

}
