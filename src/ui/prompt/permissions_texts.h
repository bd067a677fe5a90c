#pragma once

#include <string>
#include <string_view>

namespace vossel {

class PermissionsManager;
class Processes;
struct policy_query;

// These are texts that the prompts make of a query. Paths are bytes.

// "PATH (PID)" of the acting program and of its parent; empty for a query without a parent process.
[[nodiscard]] std::string applicationPathText(
    const PermissionsManager& manager, const policy_query& query);
[[nodiscard]] std::string parentPathText(const Processes& processes, const policy_query& query);

[[nodiscard]] std::string withoutLineBreaks(std::string_view text);

// The "file://" URL of a path, with everything escaped that is not plain.
[[nodiscard]] std::string fileUrl(std::string_view path);

// Counts characters, whatever their length in bytes.
[[nodiscard]] std::size_t characterCount(std::string_view text);

}
