#include "rules/path_cover.h"

#include "rules/rule_vocabulary.h"

namespace vossel {

namespace {

// The name of an object of the driver's; no file is called so.
bool isPseudoPath(std::string_view path)
{
    return path.starts_with(':');
}

// A prefix is bytes, an answer of the prefix type names a folder or a file. Whatever lies above the
// path that was asked about is a folder, also where its "/" is missing.
AnsweredPath answeredPrefix(std::string_view path, std::string_view asked)
{
    const std::size_t root = path.find('/');
    const bool isPlace
        = isPseudoPath(path) && root != std::string_view::npos && root + 1 < path.size();
    if (path.ends_with('/') || path == answeredDevices || isPlace)
        return {PathKind::Prefix, std::string(path)};
    if (asked.starts_with(path) && asked.substr(path.size()).starts_with('/'))
        return {PathKind::Prefix, std::string(path) + '/'};
    return {PathKind::Exact, std::string(path)};
}

}

bool coversPath(PathKind kind, std::string_view text, std::string_view path)
{
    switch (kind) {
    case PathKind::None:
        return false;
    case PathKind::Any:
        return true;
    case PathKind::Exact:
        return path == text;
    case PathKind::Prefix:
        return path.starts_with(text);
    case PathKind::Suffix:
        return path.ends_with(text);
    }
    return false;
}

PathKind pathKindOfRule(std::int32_t policyType, std::string_view path)
{
    const bool any = path.empty() || path == "any";
    switch (policyType) {
    case POLICY_TYPE_PREFIX:
        return any ? PathKind::Any : PathKind::Prefix;
    case POLICY_TYPE_PATH:
        return any ? PathKind::Any : PathKind::Exact;
    case POLICY_TYPE_SUFFIX:
        return any ? PathKind::Any : PathKind::Suffix;
    default:
        return PathKind::None;
    }
}

std::optional<AnsweredPath> answeredPath(
    std::int32_t pathType, std::string_view path, std::string_view asked)
{
    const bool isSuffix = path.size() > 1 && path.starts_with('.');
    if (pathType == ANSWER_PATH_SUFFIX)
        return isSuffix ? std::optional(AnsweredPath{PathKind::Suffix, std::string(path)})
                        : std::nullopt;
    if (pathType != ANSWER_PATH_EXACT && pathType != ANSWER_PATH_PREFIX)
        return std::nullopt;
    if (isPseudoPath(asked) && !isPseudoPath(path))
        return AnsweredPath{PathKind::Exact, std::string(asked)};
    if (pathType == ANSWER_PATH_EXACT && path.empty())
        return AnsweredPath{PathKind::Any, {}};
    if (!path.starts_with('/') && !isPseudoPath(path))
        return std::nullopt;
    if (pathType == ANSWER_PATH_EXACT)
        return AnsweredPath{PathKind::Exact, std::string(path)};
    return answeredPrefix(path, asked);
}

}
