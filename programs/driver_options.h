#pragma once

#include "foundation/result.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace vossel {

// What the driver was called with. Either folders or messages are given, never both.
struct DriverOptions {
    std::string prefix; // without "/" at its end
    std::vector<std::string> folders;
    std::string messages; // the file that is replayed
    bool allAtOnce = false;
    bool filtering = true; // what a replay says of itself
    std::chrono::duration<double> answerLimit = std::chrono::seconds(65);
    bool allowByDefault = true;
    std::string user; // whose agent is asked about every user's processes
};

// Fails with the sentence why the call is wrong. Nothing where help or the version was asked for,
// which has been written.
Result<std::optional<DriverOptions>> readDriverOptions(int argc, char** argv);

}
