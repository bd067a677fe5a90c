#pragma once

#include "settings/directories.h"
#include "wire/driver_messages.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vossel {

enum AlertType : std::int32_t {
    ALERT_ORDINARY = 0,
    ALERT_APPLESCRIPT = 1, // the prompts hand over an empty path
    ALERT_PAIRING_RECORDS = 2,
    ALERT_OWN_RULES = 3,
    ALERT_WEBCAM = 4,
    ALERT_LOGIN_ITEMS = 5,
};

struct AlertMessage {
    std::string sentence;
    std::int32_t alertType = ALERT_ORDINARY;

    bool operator==(const AlertMessage&) const = default;
};

struct AlertFacts {
    bool simpleMode = false;
    std::string_view homeDirectory; // without a trailing "/"
    const Directories& directories;
};

// One sentence that says what the program is attempting. In simple mode some targets widen to their
// folder: the query's path is rewritten then, because the simple prompt answers with that path.
[[nodiscard]] AlertMessage buildAlertMessage(policy_query& query, const AlertFacts& facts);

// The verb for an operation code; "unknown" for every value that is not exactly one operation.
[[nodiscard]] std::string_view operationDescription(std::int32_t operation);

// The component that follows "/Volumes/" in a path that begins with it; "/" for "/Volumes/" itself.
[[nodiscard]] std::string volumeName(std::string_view path);

}
