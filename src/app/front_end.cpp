#include "app/front_end.h"

namespace vossel {

namespace {

Failure unknown(std::string_view name, std::span<FrontEnd* const> frontEnds)
{
    std::string names;
    for (const FrontEnd* frontEnd : frontEnds)
        names.append(names.empty() ? "" : ", ").append(frontEnd->name());
    return Failure{
        "there is no way to ask called \"" + std::string(name) + "\" (there are: " + names + ")"};
}

}

Result<FrontEnd*> chooseFrontEnd(std::string_view name, std::span<FrontEnd* const> frontEnds)
{
    std::string reasons;
    for (FrontEnd* frontEnd : frontEnds) {
        if (!name.empty() && frontEnd->name() != name)
            continue;
        const auto reason = frontEnd->whyNot(!name.empty());
        if (!reason)
            return frontEnd;
        reasons.append(reasons.empty() ? "" : "; ").append(*reason);
    }
    return reasons.empty() ? unknown(name, frontEnds) : Failure{reasons};
}

}
