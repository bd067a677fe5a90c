#pragma once

#include "driver/desk/access.h"
#include "driver/desk/answered_path.h"
#include "wire/driver_messages.h"

#include <functional>
#include <optional>

namespace vossel {

// An answer that holds beyond the access that it was given for. A value.
struct HeldDecision {
    bool allow = false;
    std::int32_t operations = 0;
    AnsweredPath path;
    std::string fileId; // of the file asked about, where `path` names just that
    ProcessScope scope = PROCESS_PROGRAM;
    bool sameVersion = false; // updates of the program are not covered
    Program program; // that the answer was given for, and its parent
    Program parent;
    std::string ancestor; // with PROCESS_ANY_WITH_ANCESTOR
    std::optional<uid_t> onlyUser; // whose processes alone it is about
    std::function<bool()> holds; // whether it still does; empty: while the driver lives
};

// What an answer says beyond the access it was given for; nothing where it holds once only, or
// names a scope that does not exist. `fileId` is the asked file's, known whether or not it has
// several names. `onlyUser` and `holds` are not set.
[[nodiscard]] std::optional<HeldDecision> heldDecision(
    const user_prompt_response& response, const Access& asked, const std::string& fileId);

// Whether the decision is about this file, this program and this user. Its operations and whether
// it still holds are not looked at.
[[nodiscard]] bool covers(const HeldDecision& decision, const Access& access);

}
