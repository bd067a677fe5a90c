#include "rules/path_cover.h"

#include "rules/rule_vocabulary.h"

namespace vossel {

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

}
