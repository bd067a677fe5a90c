#pragma once

#include "wire/driver_messages.h"

#include <cstdint>
#include <string>

namespace vossel {

struct SigningText {
    std::string text;
    std::int32_t codeSignState = 0;

    bool operator==(const SigningText&) const = default;
};

// What a prompt shows of the program's signature: the signer where the state leaves room for one.
[[nodiscard]] SigningText checkCodesign(const policy_query& query);

}
