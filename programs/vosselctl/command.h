#pragma once

#include "foundation/result.h"
#include "wire_json/record_json.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <string_view>

namespace vossel {

// What a subcommand does once the command line has been read. False when it was carried out and the
// answer is "no", or there is something to complain of: exit status 1.
using Command = std::function<Result<bool>()>;

// What every subcommand may look at. Options are bound to it before the command line is read; it
// outlives the commands. One thread.
struct CommandLine {
    std::string prefix;
    Command chosen;
};

// Each adds its subcommand and has `line.chosen` set when the user names it.
void addQueryShow(CLI::App& query, CommandLine& line);
void addQueryMake(CLI::App& query, CommandLine& line);
void addResponseShow(CLI::App& response, CommandLine& line);

// The whole content of a file, or of standard input for "-". Refuses what holds more than 64 KiB:
// no record is that long.
[[nodiscard]] Result<std::string> readInput(const std::string& file);

// "FILE holds 7 bytes; ..." with what was expected.
[[nodiscard]] Failure wrongSize(
    const std::string& file, std::size_t size, std::string_view expected);

// To standard output, flushed. Fails when not all of it could be written.
[[nodiscard]] Result<bool> writeOutput(std::string_view bytes);

// One line, or indented by two spaces.
[[nodiscard]] Result<bool> writeJson(const Json& document, bool pretty);

}
