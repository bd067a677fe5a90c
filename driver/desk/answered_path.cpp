#include "driver/desk/answered_path.h"

#include "wire/driver_messages.h"
#include "wire/pseudo_paths.h"

namespace vossel {

namespace {

// A prefix is bytes, an answer of the prefix type names a folder or a file. Whatever lies above the
// path that was asked about is a folder, also where its "/" is missing.
AnsweredPath answeredPrefix(std::string_view path, std::string_view asked)
{
    const std::size_t root = path.find('/');
    const bool isPlace
        = isPseudoPath(path) && root != std::string_view::npos && root + 1 < path.size();
    if (path.ends_with('/') || path == packetCaptureDevices || isPlace)
        return {PathKind::Prefix, std::string(path)};
    if (asked.starts_with(path) && asked.substr(path.size()).starts_with('/'))
        return {PathKind::Prefix, std::string(path) + '/'};
    return {PathKind::Exact, std::string(path)};
}

}

std::optional<AnsweredPath> answeredPath(
    std::int32_t pathType, std::string_view path, std::string_view asked)
{
    const bool isSuffix = path.size() > 1 && path.starts_with('.');
    if (pathType == PATH_EXTENSION)
        return isSuffix ? std::optional(AnsweredPath{PathKind::Suffix, std::string(path)})
                        : std::nullopt;
    if (pathType != PATH_EXACT && pathType != PATH_PREFIX)
        return std::nullopt;
    if (isPseudoPath(asked) && !isPseudoPath(path))
        return AnsweredPath{PathKind::Exact, std::string(asked)};
    if (pathType == PATH_EXACT && path.empty())
        return AnsweredPath{PathKind::Any, {}};
    if (!path.starts_with('/') && !isPseudoPath(path))
        return std::nullopt;
    if (pathType == PATH_EXACT)
        return AnsweredPath{PathKind::Exact, std::string(path)};
    return answeredPrefix(path, asked);
}

}
