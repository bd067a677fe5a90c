#pragma once

#include "driver/desk/access.h"
#include "hosts/linux/package_identity.h"
#include "wire/driver_messages.h"

#include <functional>

namespace vossel {

// A blocked access with all that an agent is told of it.
struct Question {
    Access access;
    std::string fileId; // of the file asked about; names it for good
    std::int32_t process = 0;
    std::int32_t parentProcess = 0;
    std::uint64_t startTime = 0; // of the process
    ProgramIdentity identity;
};

// A thread that is blocked until the answer.
struct Waiter {
    std::function<void(bool allow)> answer; // called exactly once, unless the waiter is dead
    std::function<bool()> isAlive;
};

// The operation of a set that is asked about when several are undecided: the most far-reaching.
[[nodiscard]] std::int32_t principalOperation(std::int32_t operations);

// The whole notification that carries the question. Texts longer than their fields are cut.
[[nodiscard]] policy_query_message makeQueryMessage(
    const Question& question, std::int32_t operation, std::uint32_t token);

}
