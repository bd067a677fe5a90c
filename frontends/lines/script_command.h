#pragma once

#include "foundation/result.h"
#include "ui/prompt/prompt_act.h"

#include <cstdint>
#include <string_view>

namespace vossel {

// What a script asks of the open prompt.
struct ScriptCommand {
    enum class Kind : std::uint8_t {
        Act,
        State, // to be told what the prompt shows
        Wait, // for the end of the prompt
    };

    Kind kind = Kind::State;
    PromptAct act{}; // of Kind::Act

    bool operator==(const ScriptCommand&) const = default;
};

// Words are separated by spaces or tabs; a number is decimal digits and fits 31 bits. Any bytes may
// be given; what is no command fails with the reason.
Result<ScriptCommand> parseScriptCommand(std::string_view line);

}
