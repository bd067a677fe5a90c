#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vossel {

// One thing that a person or a script does with a prompt, whatever they do it with.
struct PromptAct {
    enum class Kind : std::uint8_t {
        Allow,
        Deny,
        Path, // number: index into PromptView::paths
        Process, // number: index into PromptView::processes
        Duration, // number: the code of a duration
        Operations, // the next kind of access
        Updates, // number: 1 to cover updates, 0 to leave them out
        Advanced, // from the simple prompt to the advanced one
    };

    Kind kind = Kind::Deny;
    std::int64_t number = 0;

    bool operator==(const PromptAct&) const = default;
};

// Says in half a sentence why an act was not done, in which case nothing has changed. It is empty
// for an act that was done.
using Refusal = std::optional<std::string>;

}
