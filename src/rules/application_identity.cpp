#include "rules/application_identity.h"

#include "foundation/path_text.h"
#include "foundation/text_format.h"
#include "rules/policy_rule.h"

namespace vossel {

namespace {

constexpr std::string_view anyProgram = "any";
constexpr std::string_view anyProcess = "Any Process";
constexpr std::string_view anyVia = "any via ";
constexpr std::string_view anyAncestor = "any ancestor ";
constexpr std::string_view via = " via ";
constexpr std::string_view viaPath = " via /";
constexpr std::string_view viaAny = " via any";
constexpr std::string_view decoration = " (-";
constexpr std::string_view bundleEnd = ".app/";

struct Parts {
    std::string_view program;
    std::optional<std::string_view> parent;
};

Parts split(std::string_view processName)
{
    auto at = processName.find(viaPath);
    if (at == std::string_view::npos) {
        if (!processName.ends_with(viaAny))
            return {processName, std::nullopt};
        at = processName.size() - viaAny.size();
    }
    return {processName.substr(0, at), processName.substr(at + via.size())};
}

std::optional<std::string> textOf(std::optional<std::string_view> view)
{
    return view ? std::optional<std::string>(*view) : std::nullopt;
}

}

std::string applicationNameForRule(const Rule& rule)
{
    const auto program = split(rule.processName()).program;
    if (program == anyProgram)
        return std::string(anyProcess);
    if (program.starts_with(anyVia))
        return formatText("Any Process via %@", {lastPathComponent(program.substr(anyVia.size()))});
    if (program.starts_with(anyAncestor))
        return formatText("Any Process with ancestor %@",
            {lastPathComponent(program.substr(anyAncestor.size()))});
    return std::string(lastPathComponent(program));
}

std::string applicationGroupIdentity(std::string_view processName, std::string_view constraint)
{
    auto [program, parent] = split(processName);
    if (program == anyProgram)
        program = anyProcess;
    if (program.starts_with(anyVia))
        return formatText("Any Process via %@", {program.substr(anyVia.size())});
    if (program.starts_with(anyAncestor))
        return formatText("Any Process with ancestor %@", {program.substr(anyAncestor.size())});
    return formatText("%@:%@:%@:%@",
        {lastPathComponent(program), program, parent.value_or("(null)"), constraint});
}

std::string applicationGroupIdentityForRule(const PolicyRule& rule)
{
    return applicationGroupIdentity(rule.processName(), rule.constraint());
}

std::string applicationPathForRule(const Rule& rule)
{
    const auto program = split(rule.processName()).program;
    return std::string(program.substr(0, program.find(decoration)));
}

std::optional<std::string> applicationParentPathForRule(const Rule& rule)
{
    return textOf(split(rule.processName()).parent);
}

std::optional<std::string> applicationParentNameForRule(const Rule& rule)
{
    const auto parent = split(rule.processName()).parent;
    return parent ? textOf(lastPathComponent(*parent)) : std::nullopt;
}

std::string applicationBundlePathForPath(std::string_view processName)
{
    const auto program = split(processName).program;
    const auto end = program.find(bundleEnd);
    return std::string(
        end == std::string_view::npos ? program : program.substr(0, end + bundleEnd.size() - 1));
}

std::string applicationBundlePathForRule(const Rule& rule)
{
    return applicationBundlePathForPath(rule.processName());
}

}
