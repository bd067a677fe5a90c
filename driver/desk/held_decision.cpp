#include "driver/desk/held_decision.h"

#include <algorithm>
#include <utility>

namespace vossel {

namespace {

constexpr std::int32_t everyOperation
    = OPERATION_READ | OPERATION_WRITE | OPERATION_CREATE | OPERATION_MOUNT | OPERATION_EXECUTE;

bool coversFile(const HeldDecision& decision, const Access& access)
{
    return (!decision.fileId.empty() && decision.fileId == access.fileId)
        || coversPath(decision.path.kind, decision.path.text, access.path);
}

bool isAncestor(const std::string& path, const Access& access)
{
    const auto is
        = [&path](const Program& program) { return program.native && program.path == path; };
    return is(access.parent) || std::any_of(access.ancestors.begin(), access.ancestors.end(), is);
}

bool coversProgram(const HeldDecision& decision, const Access& access)
{
    const auto sameProgram
        = [&] { return isSameProgram(decision.program, access.program, decision.sameVersion); };
    const auto sameParent = [&] { return isSameProgram(decision.parent, access.parent, false); };
    switch (decision.scope) {
    case PROCESS_ANY:
        return true;
    case PROCESS_NONE:
    case PROCESS_PROGRAM:
        return sameProgram();
    case PROCESS_PROGRAM_VIA_PARENT:
        return sameProgram() && sameParent();
    case PROCESS_ANY_VIA_PARENT:
        return sameParent();
    case PROCESS_ANY_WITH_ANCESTOR:
        return !decision.ancestor.empty() && isAncestor(decision.ancestor, access);
    }
    return false;
}

bool isKnownScope(std::int32_t scope)
{
    return scope >= PROCESS_NONE && scope <= PROCESS_ANY_WITH_ANCESTOR && scope != 4;
}

}

bool isSameProgram(const Program& a, const Program& b, bool sameVersion)
{
    const bool sameFile = a.device == b.device && a.inode == b.inode && a.inode != 0;
    if (sameVersion)
        return sameFile && a.changed == b.changed;
    if (!a.native || !b.native)
        return sameFile;
    // An update is another file under the same path, from whoever signed the one before.
    return a.path == b.path && (sameFile || a.signature == b.signature);
}

std::optional<HeldDecision> heldDecision(
    const user_prompt_response& response, const Access& asked, const std::string& fileId)
{
    const bool holds
        = response.duration >= DURATION_UNTIL_QUIT && response.duration <= DURATION_FOREVER;
    std::optional<AnsweredPath> path
        = answeredPath(response.pathType, textOf(response.path), asked.path);
    if (!holds || !path || !isKnownScope(response.process))
        return std::nullopt;

    HeldDecision decision;
    decision.allow = response.decision == DECISION_ALLOW;
    decision.operations = response.operations & everyOperation;
    decision.path = std::move(*path);
    if (decision.path.kind == PathKind::Exact && decision.path.text == asked.path)
        decision.fileId = fileId;
    decision.scope = static_cast<ProcessScope>(response.process);
    decision.sameVersion = response.constraint_type == CONSTRAINT_THIS_VERSION;
    decision.program = asked.program;
    decision.parent = asked.parent;
    decision.ancestor = textOf(response.user_data);
    if (decision.operations == 0)
        return std::nullopt;
    return decision;
}

bool covers(const HeldDecision& decision, const Access& access)
{
    return (!decision.onlyUser || *decision.onlyUser == access.realUser)
        && coversFile(decision, access) && coversProgram(decision, access);
}

}
