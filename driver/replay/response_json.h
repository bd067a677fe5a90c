#pragma once

#include "wire/driver_messages.h"

#include <string>

namespace vossel {

// An answer as a replay shows it.
struct ReplayedAnswer {
    user_prompt_response response = {};
    bool keyMatches = false;
    int index = -1; // of the message, from 0; -1: answers none
    double milliseconds = 0; // since the message was sent
};

// One line of JSON without its line break, by the fields of docs/contracts.md.
[[nodiscard]] std::string describe(const ReplayedAnswer& answer);

}
